// brisko-ball [--remote-touch] [--running] [--paused]: shows the floating ball on the current X
// display and prints each action word on its own line. It stands in for the ball's owner: it
// confirms "start", "stop", "pause" and "resume" back to the ball, and "close" hides it and ends.
#include "kit/BKKit.h"

#include <QDir>
#include <QGuiApplication>

#include <cstdio>

using namespace brisko;

namespace {

void confirm(const QString& word) {
    if (word == QLatin1String("start") || word == QLatin1String("stop"))
        BKKit::setFloatingBallRunning(word == QLatin1String("start"));
    else if (word == QLatin1String("pause") || word == QLatin1String("resume"))
        BKKit::setFloatingBallPaused(word == QLatin1String("pause"));
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    // Run from the build tree, the bundle with the ball's icon sits beside bin/.
    if (qEnvironmentVariableIsEmpty("BRISKO_BUNDLE_DIR"))
        qputenv("BRISKO_BUNDLE_DIR", QDir(app.applicationDirPath()).filePath("../bundle").toLocal8Bit());
    BKKit::setFloatingBallRemoteTouchEnabled(args.contains("--remote-touch"));
    BKKit::showFloatingBallWithCallback([](const QString& word) {
        std::printf("%s\n", qPrintable(word));
        std::fflush(stdout);
        if (word == QLatin1String("close")) {
            BKKit::hideFloatingBall();
            QCoreApplication::quit();
            return;
        }
        confirm(word);
    });
    if (args.contains("--running")) BKKit::setFloatingBallRunning(true);
    if (args.contains("--paused")) BKKit::setFloatingBallPaused(true);
    return app.exec();
}
