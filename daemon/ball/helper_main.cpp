// floatball-ball: the daemon's floating ball, in a process of its own that runs as the user on
// the user's display. Reads the script's state ("running", "paused", "stopped") and "hide" from
// stdin, one a line; writes the ball's action words to stdout, one a line. Ends when the daemon
// closes stdin or the ball is hidden.

#include "kit/BKKit.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

using namespace brisko;

namespace {

void applyLine(const QByteArray& line) {
    if (line == "hide") {
        BKKit::hideFloatingBall();
        QCoreApplication::quit();
    } else if (line == "running" || line == "paused" || line == "stopped") {
        BKKit::setFloatingBallRunning(line != "stopped");
        BKKit::setFloatingBallPaused(line == "paused");
    }
}

void readCommands(QByteArray& pending) {
    char buffer[512];
    const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (n <= 0) { // the daemon is gone
        QCoreApplication::quit();
        return;
    }
    pending.append(buffer, n);
    for (qsizetype nl; (nl = pending.indexOf('\n')) >= 0; pending.remove(0, nl + 1))
        applyLine(pending.left(nl));
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&pending] { readCommands(pending); });
    BKKit::showFloatingBallWithCallback([](const QString& word) {
        std::printf("%s\n", qPrintable(word));
        std::fflush(stdout);
    });
    return app.exec();
}
