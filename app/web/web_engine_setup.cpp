#include "web_engine_setup.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QQuickWindow>

#include <unistd.h>

namespace brisko {
namespace {

// Chromium refuses to start its sandbox as root; the user's own flags are kept.
void allowRootWithoutSandbox() {
    if (geteuid() != 0) return;
    QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    if (flags.contains("--no-sandbox")) return;
    flags.append(flags.isEmpty() ? "--no-sandbox" : " --no-sandbox");
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags);
}

// The platform plugin the application object will load, read the way it reads it: -platform
// (or --platform) wins over QT_QPA_PLATFORM, whose first entry is tried first; options after
// a colon are the plugin's own.
QByteArray requestedPlatform(int argc, char** argv) {
    QByteArray name = qgetenv("QT_QPA_PLATFORM").split(';').constFirst();
    for (int i = 1; i + 1 < argc; ++i)
        if (qstrcmp(argv[i], "-platform") == 0 || qstrcmp(argv[i], "--platform") == 0) name = argv[i + 1];
    return name.split(':').constFirst();
}

// Plugins on which Qt Quick always draws in software, so the engine composites in software too.
bool drawsInSoftware(const QByteArray& platform) {
    return platform == "offscreen" || platform == "minimal" || platform == "linuxfb" || platform == "vnc";
}

// Offscreen with an X display beside it would make its shared context through GLX, which costs
// more than the rest of the start-up and is never drawn with.
void keepOffscreenOffGlx(const QByteArray& platform) {
    if (platform == "offscreen" && !qEnvironmentVariableIsSet("QT_QPA_OFFSCREEN_NO_GLX"))
        qputenv("QT_QPA_OFFSCREEN_NO_GLX", "1");
}

} // namespace

// The same set-up QtWebEngineQuick::initialize() makes, without loading the engine: one GL
// context shared with the engine's compositor, and the scene graph on OpenGL where the platform
// draws with it. The shared context is asked for everywhere: Qt 6.4's engine reads it without a
// check once it starts, and where GL is missing, making it fails at once.
void BKInitializeWebEngine(int argc, char** argv) {
    allowRootWithoutSandbox();
    const QByteArray platform = requestedPlatform(argc, argv);
    keepOffscreenOffGlx(platform);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QQuickWindow::setGraphicsApi(drawsInSoftware(platform) ? QSGRendererInterface::Software
                                                           : QSGRendererInterface::OpenGL);
}

} // namespace brisko
