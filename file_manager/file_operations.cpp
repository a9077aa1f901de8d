#include "file_operations.h"

#include "file_names.h"
#include "logging.h"
#include "platform/fileio/write_all.h"

#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko {
namespace {

bool exists(const QByteArray& path) {
    struct stat st {};
    return ::lstat(path.constData(), &st) == 0;
}

bool makeFolders(const QByteArray& path) {
    for (qsizetype slash = path.indexOf('/', 1); slash != -1; slash = path.indexOf('/', slash + 1)) {
        const QByteArray prefix = path.left(slash);
        if (::mkdir(prefix.constData(), 0755) != 0 && errno != EEXIST) return false;
    }
    return ::mkdir(path.constData(), 0755) == 0;
}

bool copyContents(int from, int to) {
    char buffer[1 << 16];
    for (;;) {
        const ssize_t got = ::read(from, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) return ::fsync(to) == 0;
        if (!fileio::writeAll(to, buffer, size_t(got))) return false;
    }
}

// A hidden name beside the destination (same file system, so the swap is a rename).
QByteArray copyToTemporary(const QString& source, const QByteArray& folder) {
    const int from = ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC);
    if (from < 0) return {};
    QByteArray temporary = folder + "/.brisko-import-XXXXXX";
    const int to = ::mkostemp(temporary.data(), O_CLOEXEC);
    bool copied = to >= 0;
    if (copied) {
        struct stat st {};
        copied = ::fstat(from, &st) == 0 && S_ISREG(st.st_mode) && copyContents(from, to);
        ::fchmod(to, 0644);
        copied = ::close(to) == 0 && copied;
        if (!copied) ::unlink(temporary.constData());
    }
    ::close(from);
    return copied ? temporary : QByteArray();
}

bool removeTree(int parentFd, const char* name);

bool removeFolderContents(int fd) {
    DIR* dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return false;
    }
    bool removed = true;
    while (const dirent* e = ::readdir(dir)) {
        const char* n = e->d_name;
        if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0'))) continue;
        removed = removeTree(::dirfd(dir), n) && removed;
    }
    ::closedir(dir);
    return removed;
}

// Links are removed, never entered.
bool removeTree(int parentFd, const char* name) {
    if (::unlinkat(parentFd, name, 0) == 0) return true;
    if (errno != EISDIR && errno != EPERM) return false;
    const int fd = ::openat(parentFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return false;
    const bool contentsGone = removeFolderContents(fd);
    return ::unlinkat(parentFd, name, AT_REMOVEDIR) == 0 && contentsGone;
}

bool swapInto(const QByteArray& temporary, const QByteArray& destination) {
    if (!exists(destination)) return ::rename(temporary.constData(), destination.constData()) == 0;
    // The old entry moves to the temporary name in the same step, so it is never missing.
    if (::renameat2(AT_FDCWD, temporary.constData(), AT_FDCWD, destination.constData(), RENAME_EXCHANGE) ==
        0) {
        BKRemoveItem(BKDecodeFileName(temporary));
        return true;
    }
    struct stat st {};
    if (::lstat(destination.constData(), &st) == 0 && !S_ISDIR(st.st_mode))
        return ::rename(temporary.constData(), destination.constData()) == 0;
    return false;
}

} // namespace

CreateOutcome BKCreateItem(const QString& dirPath, const QString& name, bool isDir) {
    const QByteArray path = BKEncodeFileName(BKJoinPath(dirPath, name));
    if (exists(path)) return CreateOutcome::AlreadyExists;
    if (isDir) return makeFolders(path) ? CreateOutcome::Created : CreateOutcome::Failed;
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) {
        qCDebug(lcFiles) << "cannot create" << path << std::strerror(errno);
        return errno == EEXIST ? CreateOutcome::AlreadyExists : CreateOutcome::Failed;
    }
    ::close(fd);
    return CreateOutcome::Created;
}

int BKImportFiles(const QString& dirPath, const QStringList& sourcePaths) {
    const QByteArray folder = BKEncodeFileName(dirPath);
    int imported = 0;
    for (const QString& source : sourcePaths) {
        const QString name = QFileInfo(source).fileName();
        if (name.isEmpty()) continue;
        const QByteArray temporary = copyToTemporary(source, folder);
        if (temporary.isEmpty()) {
            qCDebug(lcFiles) << "cannot copy" << source << "into" << dirPath << std::strerror(errno);
            continue;
        }
        if (swapInto(temporary, folder + '/' + QFile::encodeName(name))) {
            ++imported;
        } else {
            qCDebug(lcFiles) << "cannot replace" << name << "in" << dirPath << std::strerror(errno);
            ::unlink(temporary.constData());
        }
    }
    return imported;
}

bool BKRenameItem(const QString& fromPath, const QString& toPath) {
    const QByteArray from = BKEncodeFileName(fromPath);
    const QByteArray to = BKEncodeFileName(toPath);
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) return true;
    // File systems without RENAME_NOREPLACE: a hard link never replaces either (files only).
    if (errno == EINVAL && ::link(from.constData(), to.constData()) == 0)
        return ::unlink(from.constData()) == 0;
    qCDebug(lcFiles) << "cannot rename" << fromPath << "to" << toPath << std::strerror(errno);
    return false;
}

bool BKRemoveItem(const QString& path) {
    const QByteArray bytes = BKEncodeFileName(path);
    const bool removed = removeTree(AT_FDCWD, bytes.constData());
    if (!removed) qCDebug(lcFiles) << "cannot remove" << path << std::strerror(errno);
    return removed;
}

} // namespace brisko
