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

} // namespace

// The same set-up QtWebEngineQuick::initialize() makes, without loading the engine: one GL
// context shared with the engine's compositor, and the scene graph on OpenGL.
void BKInitializeWebEngine() {
    allowRootWithoutSandbox();
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
}

} // namespace brisko
