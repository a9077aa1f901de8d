// Time from pushing the log screen to the first frame that shows the log's last line, for
// logs of 1, 10 and 50 MB, against `tail -n 60` on the same file in the same run.

#include "bench/support/screen_push.h"
#include "log_viewer/BKLogViewController.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQuickItem>
#include <QRandomGenerator>
#include <QTemporaryDir>

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

// The list at its end with its last row drawn.
bool showsLastLine(BKLogViewController* viewer) {
    auto* list = viewer->view()->findChild<QQuickItem*>(QStringLiteral("logList"));
    return list && list->property("count").toInt() > 0 && list->property("atYEnd").toBool();
}

struct Run {
    double ms = 0;
    double indexBytesPerLine = 0;
};

Run openOnce(bench::ScreenPush& push, const QString& path) {
    BKLogViewController* viewer = nullptr;
    Run run;
    run.ms =
        push.time<BKLogViewController>([&] { return viewer = new BKLogViewController(path); }, showsLastLine);
    QEventLoop loop;
    QObject::connect(viewer->lines(), &LogLinesModel::fullyIndexed, &loop, &QEventLoop::quit);
    if (!viewer->lines()->isFullyIndexed()) loop.exec();
    run.indexBytesPerLine = double(viewer->lines()->indexBytes()) / viewer->lines()->rowCount();
    push.pop();
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
    bench::ScreenPush push;
    // The first push also loads the screen's QML: measured apart, then warm runs.
    const QString warmUp = writeLog(folder.path(), 1);
    std::printf("log viewer first open (QML loaded): %.1f ms\n", openOnce(push, warmUp).ms);
    double last = 0;
    for (qint64 megabytes : {1, 10, 50}) {
        const QString path = writeLog(folder.path(), megabytes);
        QList<double> ours, peer;
        double perLine = 0;
        for (int i = 0; i < kRuns; ++i) {
            const Run run = openOnce(push, path);
            ours << run.ms;
            perLine = run.indexBytesPerLine;
            peer << tailOnce(path);
        }
        last = bench::median(ours);
        std::printf("%3lld MB: ours %.1f ms, tail -n 60 %.1f ms, ratio %.2f; index %.1f bytes a line (median "
                    "of %d)\n",
                    megabytes, last, bench::median(peer), last / bench::median(peer), perLine, kRuns);
    }
    std::printf("log viewer 50MB: %.1f ms\n", last);
    return 0;
}
