// Screen capture rate and rotation cost, each against a peer in the same run.
// Usage: bench_capture [runs]. Starts its own Xvfb at each screen size.
#include "bench/capture/timing.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QProcess>

#include <cstdio>
#include <cstring>

using namespace brisko::bench;

namespace {

const QSize kScreens[] = {{1170, 2532}, {1920, 1080}};

// The kit reads its screen once per process, so each size is measured in a child.
void framesAt(const QSize& size, int runs) {
    const QString display = startXvfb(size.width(), size.height());
    if (display.isEmpty()) {
        std::printf("capture %dx%d: Xvfb did not start\n", size.width(), size.height());
        return;
    }
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("DISPLAY", display);
    env.insert("QT_QPA_PLATFORM", "xcb");
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    std::fflush(stdout);
    child.start(QCoreApplication::applicationFilePath(), {"--frames", QString::number(runs)});
    if (!child.waitForFinished(-1) || child.exitCode() != 0)
        std::printf("capture %dx%d: no frames\n", size.width(), size.height());
    stopXvfb();
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[1], "--frames") == 0) {
        QGuiApplication app(argc, argv);
        return measureFrames(std::atoi(argv[2]));
    }
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(std::atoi(argv[1]), 11) : 301;
    for (const QSize& size : kScreens)
        framesAt(size, runs);
    for (const QSize& size : kScreens)
        measureRotation(size.width(), size.height(), runs / 3);
    return 0;
}
