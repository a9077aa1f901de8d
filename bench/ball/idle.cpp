#include "bench/ball/ball_bench.h"

#include "kit/BKKit.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace brisko::bench {

namespace {

// utime + stime of this process, in seconds.
double cpuSeconds() {
    QFile stat(QStringLiteral("/proc/self/stat"));
    if (!stat.open(QIODevice::ReadOnly)) return 0;
    const QByteArray line = stat.readAll();
    // Fields after the command name, which may hold spaces, start at field 3.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13) return 0;
    return (fields[11].toDouble() + fields[12].toDouble()) / double(sysconf(_SC_CLK_TCK));
}

double percentOfOneCoreOver(int seconds) {
    QEventLoop loop;
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    QElapsedTimer wall;
    const double before = cpuSeconds();
    wall.start();
    loop.exec();
    return 100 * (cpuSeconds() - before) / (double(wall.nsecsElapsed()) / 1e9);
}

} // namespace

void measureIdle(int seconds) {
    BKKit::showFloatingBallWithCallback([](const QString&) {});
    const double shown = percentOfOneCoreOver(seconds);
    BKKit::hideFloatingBall();
    const double hidden = percentOfOneCoreOver(seconds);
    std::printf(
        "ball idle cpu: %.3f %%  (docked, %d s; peer: the same process with the ball hidden: %.3f %%; "
        "difference %.3f points)\n",
        shown, seconds, hidden, shown - hidden);
}

} // namespace brisko::bench
