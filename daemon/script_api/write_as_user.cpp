#include "write_as_user.h"

#include "platform/fileio/write_all.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace brisko::scriptapi {
namespace {

// The raw calls change only this thread's credentials (glibc's wrappers change every thread's),
// and a non-zero fsuid drops the capabilities that would let root write anywhere.
bool becomeForFiles(const ScriptIdentity& identity) {
    if (syscall(SYS_setgroups, identity.groups.size(), identity.groups.data()) != 0) return false;
    syscall(SYS_setfsgid, identity.gid);
    syscall(SYS_setfsuid, identity.uid);
    return uid_t(syscall(SYS_setfsuid, -1)) == identity.uid &&
           gid_t(syscall(SYS_setfsgid, -1)) == identity.gid;
}

int replaceFile(const QByteArray& path, const QByteArray& bytes) {
    QByteArray temporary = path + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return errno;
    const bool written = fchmod(fd, 0644) == 0 &&
                         fileio::writeAll(fd, bytes.constData(), size_t(bytes.size())) && fsync(fd) == 0;
    const int error = written ? 0 : errno;
    ::close(fd);
    if (written && ::rename(temporary.constData(), path.constData()) == 0) return 0;
    const int renameError = written ? errno : error;
    ::unlink(temporary.constData());
    return renameError ? renameError : EIO;
}

} // namespace

QString writeFileAs(const ScriptIdentity& identity, const QString& path, const QByteArray& bytes) {
    const QByteArray encoded = QFile::encodeName(path);
    int error = 0;
    // A thread of its own, so the changed identity ends with it.
    std::thread writer([&] {
        if (identity.switchIdentity && !becomeForFiles(identity)) {
            error = EPERM;
            return;
        }
        error = replaceFile(encoded, bytes);
    });
    writer.join();
    return error ? QString::fromLocal8Bit(strerror(error)) : QString();
}

} // namespace brisko::scriptapi
