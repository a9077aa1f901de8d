#include "app/assets/deploy.h"

#include "app/assets/copy.h"
#include "app/assets/digest.h"
#include "app/assets/native_fs.h"
#include "platform/bundle/bundle.h"

#include <QDir>
#include <QLoggingCategory>

#include <fcntl.h>
#include <unistd.h>

namespace brisko {
namespace {
using namespace assets;

Q_LOGGING_CATEGORY(lcAssets, "brisko.assets", QtInfoMsg)

// A copy that fails keeps what was there; the next launch with a new bundle tries again.
void copyOrLog(bool (*copy)(const QByteArray&, const QByteArray&), const QByteArray& source,
               const QByteArray& destination) {
    if (!copy(source, destination))
        qCDebug(lcAssets, "not copied: %s -> %s", source.constData(), destination.constData());
}

// The daemon's loadable libraries: the original platform's suffix and the native one.
bool isLibraryName(const QByteArray& name) {
    return name.endsWith(".dylib") || name.endsWith(".so");
}

void syncFolders(const QByteArray& source, const QByteArray& destination, FolderTrail& trail);

void syncEntry(const QByteArray& source, const QByteArray& destination, FolderTrail& trail) {
    const EntryInfo info = statFollowingLinks(source);
    if (info.kind != EntryKind::Directory) {
        copyOrLog(replaceFileWithCopy, source, destination);
        return;
    }
    if (trail.contains(info)) { // a link back into the merge would never end
        qCDebug(lcAssets, "link loop skipped: %s", source.constData());
        return;
    }
    trail.push(info);
    syncFolders(source, destination, trail);
    trail.pop();
}

void syncFolders(const QByteArray& source, const QByteArray& destination, FolderTrail& trail) {
    const QList<QByteArray> names = listDirectory(source);
    if (names.isEmpty()) return;
    makeDirectories(destination);
    for (const QByteArray& name : names) {
        if (name.startsWith('.')) continue;
        syncEntry(joinPath(source, name), joinPath(destination, name), trail);
    }
}

void syncDirectoryOverwrite(const QByteArray& source, const QByteArray& destination) {
    FolderTrail trail;
    trail.push(statFollowingLinks(source));
    syncFolders(source, destination, trail);
}

void deployLibraries(const QByteArray& frameworks, const QByteArray& docs) {
    for (const QByteArray& name : listDirectory(frameworks)) {
        if (isLibraryName(name)) copyOrLog(replaceWithCopy, joinPath(frameworks, name), joinPath(docs, name));
    }
}

void deploy(const QByteArray& bundle, const QByteArray& docs) {
    const QByteArray assetsFolder = joinPath(bundle, "assets");
    if (pathExists(assetsFolder)) syncDirectoryOverwrite(assetsFolder, joinPath(docs, "assets"));
    const QByteArray appFolder = joinPath(bundle, "app");
    if (pathExists(appFolder)) copyOrLog(replaceWithCopy, appFolder, joinPath(docs, "app"));
    deployLibraries(joinPath(bundle, "Frameworks"), docs);
}

void writeEmptyFile(const QByteArray& path) {
    const int fd = open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd >= 0)
        close(fd);
    else
        qCDebug(lcAssets, "stamp not written: %s", path.constData());
}
} // namespace

void BKPrepareBundledAssetsIfNeeded() {
    const QString docs = bundle::documentsDirectory();
    const QString bundlePath = bundle::bundlePath();
    const QString digest = BKAppBundleMD5();
    const QString stampDir = BKIPAStampDirectory();
    if (digest.isEmpty() || stampDir.isEmpty()) {
        qCDebug(lcAssets, "no bundle digest or stamp folder: assets not deployed");
        return;
    }
    const QByteArray stamp = joinPath(nativePath(stampDir), digest.toLatin1());
    if (pathExists(stamp)) return;
    if (!docs.isEmpty()) deploy(nativePath(bundlePath), nativePath(docs));
    writeEmptyFile(stamp);
}

QString BKIPAStampDirectory() {
    const QString support = bundle::applicationSupportDirectory();
    if (support.isEmpty()) return {};
    const QString path = QDir(support).filePath(QStringLiteral("IPA"));
    QDir().mkpath(path);
    return path;
}

void BKSyncDirectoryOverwrite(const QString& source, const QString& destination) {
    syncDirectoryOverwrite(nativePath(source), nativePath(destination));
}

} // namespace brisko
