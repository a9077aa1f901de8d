#include "bench/capture/timing.h"

#include <QProcess>

#include <memory>

namespace brisko::bench {

namespace {
std::unique_ptr<QProcess> s_server;
}

QString startXvfb(int width, int height) {
    s_server = std::make_unique<QProcess>();
    s_server->start(QStringLiteral("Xvfb"),
                    {"-displayfd", "1", "-screen", "0", QStringLiteral("%1x%2x24").arg(width).arg(height),
                     "-nolisten", "tcp", "-ac", "+extension", "MIT-SHM"});
    if (s_server->waitForStarted() && s_server->waitForReadyRead(10000)) {
        const QByteArray number = s_server->readLine().trimmed();
        if (!number.isEmpty()) return QStringLiteral(":") + QString::fromLatin1(number);
    }
    stopXvfb();
    return QString();
}

void stopXvfb() {
    if (!s_server) return;
    s_server->terminate();
    s_server->waitForFinished();
    s_server.reset();
}

} // namespace brisko::bench
