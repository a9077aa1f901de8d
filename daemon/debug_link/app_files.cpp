#include "app_files.h"

#include "daemon/logging.h"
#include "platform/fileio/unique_fd.h"
#include "platform/fileio/write_all.h"

#include <QFile>
#include <QUrl>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

using Fd = fileio::UniqueFd;

void giveToOwner(int fd, const DocumentsOwner& owner) {
    if (geteuid() == 0 && owner.uid != 0 && fchown(fd, owner.uid, owner.gid) != 0)
        qCDebug(lcDaemon, "debug link: cannot hand a file to uid %d: %s", int(owner.uid), strerror(errno));
}

// A link in place of a folder fails here (ELOOP or ENOTDIR): it is never entered.
int enterFolder(int parent, const QByteArray& name, const DocumentsOwner& owner) {
    if (mkdirat(parent, name.constData(), 0755) == 0) {
        const int made = openat(parent, name.constData(), kFolderFlags);
        if (made >= 0) giveToOwner(made, owner);
        return made;
    }
    return errno == EEXIST ? openat(parent, name.constData(), kFolderFlags) : -1;
}

QByteArray temporaryName(const QByteArray& name) {
    quint32 salt = 0;
    if (getrandom(&salt, sizeof salt, GRND_NONBLOCK) != sizeof salt) salt = quint32(getpid());
    return "." + name.left(200) + ".upload-" + QByteArray::number(salt, 16);
}

// The new file replaces whatever had the name, a link included, and is never written through one.
bool replaceFile(int folder, const QByteArray& name, const QByteArray& data, mode_t mode,
                 const DocumentsOwner& owner) {
    const QByteArray temporary = temporaryName(name);
    Fd fd(openat(folder, temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (fd.get() < 0) return false;
    giveToOwner(fd.get(), owner);
    // On the disk before the rename, so a power cut leaves the old file or the new, never an empty one.
    if (fchmod(fd.get(), mode) == 0 && fileio::writeAll(fd.get(), data.constData(), size_t(data.size())) &&
        fdatasync(fd.get()) == 0 && renameat(folder, temporary.constData(), folder, name.constData()) == 0)
        return true;
    unlinkat(folder, temporary.constData(), 0);
    return false;
}

} // namespace

std::optional<QList<QByteArray>> splitUploadPath(const QByteArray& encoded) {
    QList<QByteArray> components;
    for (const QByteArray& part : encoded.split('/')) {
        const QByteArray name = QByteArray::fromPercentEncoding(part);
        if (name.isEmpty() || name == "." || name == ".." || name.contains('/') || name.contains('\0'))
            return std::nullopt;
        components << name;
    }
    return components;
}

DocumentsOwner documentsOwner(const QString& documents) {
    struct stat st {};
    if (::stat(QFile::encodeName(documents).constData(), &st) != 0) return {};
    return {st.st_uid, st.st_gid};
}

int openAppFolder(const QString& documents) {
    const Fd root(::open(QFile::encodeName(documents).constData(), kFolderFlags));
    if (root.get() < 0) return -1;
    return enterFolder(root.get(), "app", documentsOwner(documents));
}

QString writeAppFile(const QString& documents, const QList<QByteArray>& components, const QByteArray& data,
                     bool executable) {
    const DocumentsOwner owner = documentsOwner(documents);
    Fd folder(openAppFolder(documents));
    for (qsizetype i = 0; folder.get() >= 0 && i + 1 < components.size(); ++i)
        folder.reset(enterFolder(folder.get(), components[i], owner));
    if (folder.get() < 0) return QStringLiteral("路径无效");
    if (!replaceFile(folder.get(), components.last(), data, executable ? 0755 : 0644, owner)) {
        qCDebug(lcDaemon, "debug link: cannot write %s: %s", components.join('/').constData(),
                strerror(errno));
        return QStringLiteral("写入失败");
    }
    return {};
}

} // namespace brisko::daemon
