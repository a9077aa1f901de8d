#include "bench/capture/timing.h"

#include <QFile>
#include <QProcess>
#include <QThread>

#include <memory>

namespace brisko::bench {

namespace {
std::unique_ptr<QProcess> s_server;
}

QString startXvfb(int width, int height) {
    for (int n = 200; n < 260; ++n) {
        if (QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(n))) continue;
        const QString display = QStringLiteral(":%1").arg(n);
        s_server = std::make_unique<QProcess>();
        s_server->start(QStringLiteral("Xvfb"), {display, "-screen", "0", QStringLiteral("%1x%2x24").arg(width).arg(height),
                                                  "-nolisten", "tcp", "-ac", "+extension", "MIT-SHM"});
        if (!s_server->waitForStarted()) return QString();
        for (int i = 0; i < 100; ++i) {
            if (QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n))) return display;
            QThread::msleep(50);
        }
        stopXvfb();
    }
    return QString();
}

void stopXvfb() {
    if (!s_server) return;
    s_server->terminate();
    s_server->waitForFinished();
    s_server.reset();
}

} // namespace brisko::bench
