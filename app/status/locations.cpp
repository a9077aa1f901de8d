#include "locations.h"

#include "platform/bundle/bundle.h"

#include <QDir>

namespace brisko {
namespace {
QString joined(const QString& folder, const QString& name) {
    return folder.isEmpty() ? QString() : QDir(folder).filePath(name);
}
} // namespace

QString BKDocumentsDirectory() {
    return bundle::documentsDirectory();
}
QString BKDaemonExecutablePath() {
    return joined(bundle::bundlePath(), QStringLiteral("floatball"));
}
QString BKBootAutostartMarkerPath() {
    return joined(BKDocumentsDirectory(), QStringLiteral("boot_autostart"));
}
QString BKScriptLogPath() {
    return joined(BKDocumentsDirectory(), QStringLiteral("script.log"));
}

} // namespace brisko
