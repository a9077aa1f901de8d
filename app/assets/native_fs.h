#pragma once
// Small POSIX helpers on native (byte) paths, so file names that are not valid UTF-8 survive
// the round trip that a QString would lossily decode. Every failure is reported, never thrown.

#include <QByteArray>
#include <QList>

#include <sys/types.h>

namespace brisko::assets {

QByteArray joinPath(const QByteArray& dir, const QByteArray& name);
QByteArray nativePath(const QString& path);

// Entry names of a folder in the order the file system gives them, without "." and "..";
// empty when the folder cannot be listed.
QList<QByteArray> listDirectory(const QByteArray& dir);

enum class EntryKind { Missing, Directory, RegularFile, Other };
struct EntryInfo {
    EntryKind kind = EntryKind::Missing;
    dev_t device = 0;
    ino_t inode = 0;
};
EntryInfo statFollowingLinks(const QByteArray& path);

// Folders on the current walk, to notice a symbolic link that leads back into one of them.
class FolderTrail {
  public:
    bool contains(const EntryInfo& folder) const;
    void push(const EntryInfo& folder) { folders_.append(folder); }
    void pop() { folders_.removeLast(); }

  private:
    QList<EntryInfo> folders_;
};

bool pathExists(const QByteArray& path); // without following a final link
bool makeDirectories(const QByteArray& path);
void removeRecursively(const QByteArray& path); // a link is removed, never followed

} // namespace brisko::assets
