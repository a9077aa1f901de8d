// bench_ball [--idle-seconds N] [--moves N]: the floating ball's idle cost and its touch-to-move
// latency, on a private Xvfb (an iPhone-sized screen). Each figure is printed beside its peer.
#include "bench/ball/ball_bench.h"
#include "bench/capture/timing.h"

#include <QDir>
#include <QGuiApplication>

#include <cstdio>

using namespace brisko::bench;

int main(int argc, char** argv) {
    int idleSeconds = 60, moves = 200;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (QByteArray(argv[i]) == "--idle-seconds") idleSeconds = std::atoi(argv[i + 1]);
        if (QByteArray(argv[i]) == "--moves") moves = std::atoi(argv[i + 1]);
    }
    const QString display = startXvfb(1170, 2532);
    if (display.isEmpty()) {
        std::fprintf(stderr, "bench_ball: Xvfb did not start\n");
        return 1;
    }
    qputenv("DISPLAY", display.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_SCALE_FACTOR", "3");
    QGuiApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("BRISKO_BUNDLE_DIR")) // the icon, as the application has it
        qputenv("BRISKO_BUNDLE_DIR", QDir(app.applicationDirPath()).filePath("../../bundle").toLocal8Bit());
    measureTouchToMove(moves);
    measureIdle(idleSeconds);
    stopXvfb();
    return 0;
}
