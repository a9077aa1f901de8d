#include "project_swap.h"

#include "daemon/debug_link/app_files.h"
#include "daemon/logging.h"
#include "file_manager/zip/archive_walk.h"
#include "file_manager/zip/diagnostics.h"
#include "file_manager/zip/unzip.h"
#include "platform/fileio/unique_fd.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <ftw.h>
#include <stdio.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace brisko::daemon {
namespace {

// Skips of the extraction running on this thread; folder entries make nothing and count for nothing.
thread_local int t_skipped = 0;

void countSkip(std::string_view entry, const char* reason) {
    if (entry.ends_with('/') || entry.ends_with('\\')) return;
    ++t_skipped;
    qCDebug(lcDaemon, "debug link: project entry %.*s skipped: %s", int(entry.size()), entry.data(), reason);
}

bool declaresTooMuch(const QByteArray& zip) {
    const auto* data = reinterpret_cast<const uint8_t*>(zip.constData());
    const auto end = zip::findEndRecord(data, uint64_t(zip.size()));
    if (!end) return true;
    zip::CentralDirectoryWalk walk(data, uint64_t(zip.size()), *end);
    zip::CentralEntry entry;
    quint64 total = 0, count = 0;
    while (walk.next(entry)) {
        total += entry.uncompressedSize;
        if (++count > kMaxProjectEntries || total > kMaxProjectBytes) return true;
    }
    return false;
}

thread_local DocumentsOwner t_owner;

int chownEntry(const char* path, const struct stat*, int, struct FTW*) {
    if (lchown(path, t_owner.uid, t_owner.gid) != 0)
        qCDebug(lcDaemon, "debug link: cannot hand %s over: %s", path, strerror(errno));
    return 0;
}

void giveTreeToOwner(const QByteArray& folder, const DocumentsOwner& owner) {
    if (geteuid() != 0 || owner.uid == 0) return;
    t_owner = owner;
    nftw(folder.constData(), chownEntry, 16, FTW_PHYS);
}

// Every file of the filesystem the tree is on, the unpacked ones among them.
bool flushFileSystemOf(const QByteArray& folder) {
    fileio::UniqueFd fd(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd.get() >= 0 && syncfs(fd.get()) == 0;
}

bool flushEntriesOf(const QByteArray& folder) {
    fileio::UniqueFd fd(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd.get() >= 0 && fsync(fd.get()) == 0;
}

// The old files go on their own thread: the script can start while they are deleted.
void removeInBackground(const QByteArray& folder) {
    std::thread([old = QFile::decodeName(folder)] {
        if (!QDir(old).removeRecursively())
            qCDebug(lcDaemon, "debug link: the old app folder was not removed in full");
    }).detach();
}

// The old folder ends up where the new one was made, and goes. The new files reach the disk
// before the swap names them "app", and the swap before the old files go: a power cut at any
// point leaves one whole app folder.
bool swapIn(const QString& documents, const QByteArray& incoming) {
    const QByteArray documentsPath = QFile::encodeName(documents);
    const QByteArray app = documentsPath + "/app";
    if (!flushFileSystemOf(incoming)) {
        qCDebug(lcDaemon, "debug link: the unpacked project did not reach the disk: %s", strerror(errno));
        return false;
    }
    const bool swapped =
        renameat2(AT_FDCWD, incoming.constData(), AT_FDCWD, app.constData(), RENAME_EXCHANGE) == 0;
    if (!swapped && (errno != ENOENT || ::rename(incoming.constData(), app.constData()) != 0)) return false;
    if (!swapped) return true;
    if (flushEntriesOf(documentsPath))
        removeInBackground(incoming);
    else
        qCDebug(lcDaemon, "debug link: the swap is not on the disk yet, the old app folder stays in %s",
                incoming.constData());
    return true;
}

QString unpackAndSwap(const QString& documents, const UploadBody& archive, const QByteArray& incoming) {
    t_skipped = 0;
    zip::setSkipSink(countSkip);
    const bool read = BKUnzipFile(archive.path(), incoming.toStdString());
    if (!read || t_skipped > 0) return QStringLiteral("压缩包无效或不完整，未替换");
    ::chmod(incoming.constData(), 0755); // made 0700 by mkdtemp
    giveTreeToOwner(incoming, documentsOwner(documents));
    if (!swapIn(documents, incoming)) return QStringLiteral("替换 app 文件夹失败");
    return {};
}

} // namespace

QString replaceAppFolder(const QString& documents, const UploadBody& archive) {
    if (declaresTooMuch(archive.bytes())) return QStringLiteral("压缩包无效或过大");
    QByteArray incoming = QFile::encodeName(documents) + "/.app.incoming-XXXXXX";
    if (!mkdtemp(incoming.data())) {
        qCDebug(lcDaemon, "debug link: no room to unpack a project: %s", strerror(errno));
        return QStringLiteral("写入失败");
    }
    const QString error = unpackAndSwap(documents, archive, incoming);
    if (!error.isEmpty()) QDir(QFile::decodeName(incoming)).removeRecursively();
    return error;
}

} // namespace brisko::daemon
