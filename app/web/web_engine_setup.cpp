#include "web_engine_setup.h"

#include <QByteArray>
#include <QtWebEngineQuick/qtwebenginequickglobal.h>

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

void BKInitializeWebEngine() {
    allowRootWithoutSandbox();
    QtWebEngineQuick::initialize();
}

} // namespace brisko
