// brisko: the application. `--background` marks a launch by the boot autostart entry;
// `--screenshot DIR` renders every screen into DIR and quits.

#include "app/launch/app_delegate.h"
#include "app/launch/launch.h"
#include "app/launch/screenshot_tour.h"
#include "app/web/web_engine_setup.h"
#include "platform/ui/engine.h"

#include <QCommandLineParser>
#include <QGuiApplication>

using namespace brisko;

namespace {

struct Options {
    bool background = false;
    QString screenshotFolder;
};

Options parseOptions(const QGuiApplication& app) {
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption background(QStringLiteral("background"), QStringLiteral("Launched at boot."));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"), QStringLiteral("Render every screen into DIR."), QStringLiteral("DIR"));
    parser.addOptions({background, screenshot});
    parser.process(app);
    return Options{parser.isSet(background), parser.value(screenshot)};
}

} // namespace

// Before any window system is touched: at login the screen may not be ours yet.
static bool isBackgroundLaunch(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (qstrcmp(argv[i], "--background") == 0) return true;
    return false;
}

int main(int argc, char** argv) {
    BKInitializeWebEngine(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("brisko"));
    if (isBackgroundLaunch(argc, argv)) {
        QCoreApplication app(argc, argv);
        BKRunBackgroundLaunch();
        return 0;
    }
    QGuiApplication app(argc, argv);
    const Options options = parseOptions(app);
    ui::installSystemFont();
    BKSetApplicationInBackground(options.background);

    AppDelegate delegate;
    const bool touringScreens = !options.screenshotFolder.isEmpty();
    // A screenshot tour shows the screens only: it starts no daemon.
    delegate.didFinishLaunching(!touringScreens);
    if (touringScreens) {
        registerAllScenes();
        runScreenshotTour(delegate.window(), options.screenshotFolder);
    }
    return app.exec();
}
