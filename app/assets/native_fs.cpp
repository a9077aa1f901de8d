#include "app/assets/native_fs.h"

#include <QFile>

#include <dirent.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace brisko::assets {
namespace {
std::filesystem::path fsPath(const QByteArray& path) {
    return std::filesystem::path(path.toStdString());
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}
} // namespace

QByteArray joinPath(const QByteArray& dir, const QByteArray& name) {
    if (dir.endsWith('/')) return dir + name;
    return dir + '/' + name;
}

QByteArray nativePath(const QString& path) {
    return QFile::encodeName(path);
}

QList<QByteArray> listDirectory(const QByteArray& dir) {
    QList<QByteArray> names;
    DIR* stream = opendir(dir.constData());
    if (!stream) return names;
    while (const dirent* entry = readdir(stream)) {
        if (!isDotOrDotDot(entry->d_name)) names.append(QByteArray(entry->d_name));
    }
    closedir(stream);
    return names;
}

EntryInfo statFollowingLinks(const QByteArray& path) {
    struct stat st {};
    if (stat(path.constData(), &st) != 0) return {};
    EntryKind kind = EntryKind::Other;
    if (S_ISDIR(st.st_mode))
        kind = EntryKind::Directory;
    else if (S_ISREG(st.st_mode))
        kind = EntryKind::RegularFile;
    return {kind, st.st_dev, st.st_ino};
}

bool FolderTrail::contains(const EntryInfo& folder) const {
    for (const EntryInfo& each : folders_) {
        if (each.device == folder.device && each.inode == folder.inode) return true;
    }
    return false;
}

bool pathExists(const QByteArray& path) {
    struct stat st {};
    return lstat(path.constData(), &st) == 0;
}

bool makeDirectories(const QByteArray& path) {
    std::error_code error;
    std::filesystem::create_directories(fsPath(path), error);
    return statFollowingLinks(path).kind == EntryKind::Directory;
}

void removeRecursively(const QByteArray& path) {
    std::error_code error;
    std::filesystem::remove_all(fsPath(path), error);
}

} // namespace brisko::assets
