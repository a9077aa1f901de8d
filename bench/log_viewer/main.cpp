// Time from pushing the log screen to the first frame that shows the log's last line, for
// logs of 1, 10 and 50 MB, against `tail -n 60` on the same file in the same run.

#include "log_viewer/BKLogViewController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace brisko;

namespace {

constexpr int kRuns = 7;

// Lines of 40 to 200 bytes, as a script's timestamped output.
QString writeLog(const QString& folder, qint64 megabytes) {
    const QString path = folder + QStringLiteral("/log-%1MB.log").arg(megabytes);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("cannot write %s", qPrintable(path));
    QRandomGenerator random{quint32(megabytes)};
    QByteArray line;
    qint64 written = 0;
    for (qint64 n = 0; written < megabytes << 20; ++n) {
        line = "2026-11-23 10:00:00 [main.lua] step " + QByteArray::number(n) + ' ';
        const int length = random.bounded(40, 201);
        while (line.size() < length - 1)
            line += char('a' + random.bounded(26));
        line.truncate(length - 1);
        line += '\n';
        written += file.write(line);
    }
    return path;
}

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Waits for frames until the list is at its end with its last row drawn.
bool waitForLastLine(QQuickWindow* window, QQuickItem* list) {
    QEventLoop loop;
    bool shown = false;
    auto check = [&] {
        const bool atEnd = list->property("atYEnd").toBool();
        if (list->property("count").toInt() > 0 && atEnd) {
            shown = true;
            loop.quit();
        } else {
            window->requestUpdate();
        }
    };
    auto connection = QObject::connect(window, &QQuickWindow::frameSwapped, &loop, check);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    window->requestUpdate();
    loop.exec();
    QObject::disconnect(connection);
    return shown;
}

struct Run {
    double ms = 0;
    double indexBytesPerLine = 0;
};

Run openOnce(ui::Window& window, ui::NavigationController* nav, const QString& path) {
    QElapsedTimer timer;
    timer.start();
    auto* viewer = new BKLogViewController(path);
    nav->pushViewController(viewer, false);
    auto* list = viewer->view()->findChild<QQuickItem*>(QStringLiteral("logList"));
    if (!list || !waitForLastLine(window.quickWindow(), list)) qFatal("the last line never showed");
    Run run{double(timer.nsecsElapsed()) / 1e6, 0};
    QEventLoop loop;
    QObject::connect(viewer->lines(), &LogLinesModel::fullyIndexed, &loop, &QEventLoop::quit);
    if (!viewer->lines()->isFullyIndexed()) loop.exec();
    run.indexBytesPerLine = double(viewer->lines()->indexBytes()) / viewer->lines()->rowCount();
    nav->popViewControllerAnimated(false);
    QCoreApplication::processEvents();
    return run;
}

double tailOnce(const QString& path) {
    QElapsedTimer timer;
    timer.start();
    QProcess tail;
    tail.start(QStringLiteral("tail"), {QStringLiteral("-n"), QStringLiteral("60"), path});
    tail.waitForFinished();
    tail.readAllStandardOutput();
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QTemporaryDir folder;
    ui::Window window;
    auto* nav = new ui::NavigationController(new ui::ViewController);
    window.setRootViewController(nav);
    window.makeKeyAndVisible();
    // The first push also loads the screen's QML: measured apart, then warm runs.
    const QString warmUp = writeLog(folder.path(), 1);
    std::printf("log viewer first open (QML loaded): %.1f ms\n", openOnce(window, nav, warmUp).ms);
    double last = 0;
    for (qint64 megabytes : {1, 10, 50}) {
        const QString path = writeLog(folder.path(), megabytes);
        QList<double> ours, peer;
        double perLine = 0;
        for (int i = 0; i < kRuns; ++i) {
            const Run run = openOnce(window, nav, path);
            ours << run.ms;
            perLine = run.indexBytesPerLine;
            peer << tailOnce(path);
        }
        last = median(ours);
        std::printf("%3lld MB: ours %.1f ms, tail -n 60 %.1f ms, ratio %.2f; index %.1f bytes a line (median "
                    "of %d)\n",
                    megabytes, last, median(peer), last / median(peer), perLine, kRuns);
    }
    std::printf("log viewer 50MB: %.1f ms\n", last);
    return 0;
}
