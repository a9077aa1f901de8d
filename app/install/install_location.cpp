#include "install_location.h"

#include "platform/bundle/bundle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace brisko {
namespace {

bool matchesPrivilegedPrefix(const QString& path) {
    if (path.startsWith(QLatin1String("/Applications/"))) return true;
    if (path.startsWith(QLatin1String("/var/jb/Applications/"))) return true;
    if (path.startsWith(QLatin1String("/private/preboot/")) &&
        path.contains(QLatin1String("/procursus/Applications/")))
        return true;
    // Where Linux puts add-on applications installed system-wide.
    return path.startsWith(QLatin1String("/opt/"));
}

QString executableFolder() {
    if (!QCoreApplication::instance()) return {};
    return QCoreApplication::applicationDirPath();
}

} // namespace

bool BKPathLooksLikeJailbreakInstall(const QString& path) {
    if (path.isEmpty()) return false;
    // canonicalFilePath is empty for a path that does not exist, which skips that candidate.
    const QString candidates[] = {path, QFileInfo(path).canonicalFilePath(), QDir::cleanPath(path)};
    for (const QString& candidate : candidates) {
        if (!candidate.isEmpty() && matchesPrivilegedPrefix(candidate)) return true;
    }
    return false;
}

bool BKIsJailbreakInstalledApp() {
    if (BKPathLooksLikeJailbreakInstall(bundle::bundlePath())) return true;
    return BKPathLooksLikeJailbreakInstall(executableFolder());
}

} // namespace brisko
