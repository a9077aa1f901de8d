#include "app/assets/copy.h"

#include "app/assets/native_fs.h"
#include "platform/fileio/write_all.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace brisko::assets {
namespace {
QByteArray parentOf(const QByteArray& path) {
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0) return QByteArrayLiteral(".");
    return slash == 0 ? QByteArrayLiteral("/") : path.left(slash);
}

QByteArray baseName(const QByteArray& path) {
    return path.mid(path.lastIndexOf('/') + 1);
}

// A hidden sibling, so a half-written copy never carries the final name.
QByteArray temporarySibling(const QByteArray& path) {
    return joinPath(parentOf(path), "." + baseName(path) + ".deploying-XXXXXX");
}

bool copyContent(int from, int to) {
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t n = read(from, buffer.data(), buffer.size());
        if (n == 0) return true;
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 || !fileio::writeAll(to, buffer.data(), size_t(n))) return false;
    }
}

// Opens source for reading when it is a regular file (links followed); -1 otherwise.
int openRegularFile(const QByteArray& source, mode_t& mode) {
    const int fd = open(source.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return -1;
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        return -1;
    }
    mode = st.st_mode & 0777;
    return fd;
}

bool copyOpenFile(int from, mode_t mode, int to) {
    const bool copied = copyContent(from, to) && fchmod(to, mode) == 0;
    return close(to) == 0 && copied;
}

// Writes a copy of source at a path that does not exist yet.
bool copyFileTo(const QByteArray& source, const QByteArray& target) {
    mode_t mode = 0;
    const int from = openRegularFile(source, mode);
    if (from < 0) return false;
    const int to = open(target.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const bool copied = to >= 0 && copyOpenFile(from, mode, to);
    close(from);
    return copied;
}

bool copyTreeInto(const QByteArray& source, const QByteArray& target, FolderTrail& trail);

// Folders and regular files are copied; anything else (dangling links, pipes, devices) and
// links back into a folder being copied are left out without counting as a failure.
bool copyEntry(const QByteArray& source, const QByteArray& target, FolderTrail& trail) {
    const EntryInfo info = statFollowingLinks(source);
    if (info.kind == EntryKind::RegularFile) return copyFileTo(source, target);
    if (info.kind != EntryKind::Directory || trail.contains(info)) return true;
    if (mkdir(target.constData(), 0777) != 0) return false;
    trail.push(info);
    const bool copied = copyTreeInto(source, target, trail);
    trail.pop();
    return copied;
}

bool copyTreeInto(const QByteArray& source, const QByteArray& target, FolderTrail& trail) {
    for (const QByteArray& name : listDirectory(source)) {
        if (!copyEntry(joinPath(source, name), joinPath(target, name), trail)) return false;
    }
    return true;
}

bool moveIntoPlace(const QByteArray& staged, const QByteArray& destination) {
    struct stat st {};
    if (lstat(destination.constData(), &st) == 0 && S_ISDIR(st.st_mode)) removeRecursively(destination);
    if (rename(staged.constData(), destination.constData()) == 0) return true;
    removeRecursively(staged);
    return false;
}

bool replaceFolderWithCopy(const QByteArray& source, const QByteArray& destination) {
    QByteArray staged = temporarySibling(destination);
    if (!mkdtemp(staged.data())) return false;
    chmod(staged.constData(), 0755); // mkdtemp's 0700 would outlive the rename
    FolderTrail trail;
    trail.push(statFollowingLinks(source));
    if (!copyTreeInto(source, staged, trail)) {
        removeRecursively(staged);
        return false;
    }
    return moveIntoPlace(staged, destination);
}
} // namespace

bool replaceFileWithCopy(const QByteArray& source, const QByteArray& destination) {
    mode_t mode = 0;
    const int from = openRegularFile(source, mode);
    if (from < 0) return false;
    QByteArray staged = temporarySibling(destination);
    const int to = mkostemp(staged.data(), O_CLOEXEC);
    const bool copied = to >= 0 && copyOpenFile(from, mode, to);
    close(from);
    if (copied) return moveIntoPlace(staged, destination);
    if (to >= 0) unlink(staged.constData());
    return false;
}

bool replaceWithCopy(const QByteArray& source, const QByteArray& destination) {
    makeDirectories(parentOf(destination));
    switch (statFollowingLinks(source).kind) {
    case EntryKind::RegularFile:
        return replaceFileWithCopy(source, destination);
    case EntryKind::Directory:
        return replaceFolderWithCopy(source, destination);
    default:
        return false;
    }
}

} // namespace brisko::assets
