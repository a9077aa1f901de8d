#include "file_listing.h"

#include "file_names.h"
#include "logging.h"

#include <QDateTime>
#include <QHash>
#include <QVariantMap>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace brisko {
namespace {

struct Entry {
    QString name;
    QString key;
    bool isDir = false;
    QString detail;
};

// Many entries share a minute; formatting local time is the costly part of a detail line.
class MinuteFormatter {
  public:
    const QString& format(qint64 secondsSinceEpoch) {
        const qint64 minute = secondsSinceEpoch >= 0 ? secondsSinceEpoch / 60 : (secondsSinceEpoch - 59) / 60;
        auto it = cache_.find(minute);
        if (it == cache_.end())
            it = cache_.insert(
                minute,
                QDateTime::fromSecsSinceEpoch(minute * 60).toString(QStringLiteral("yyyy-MM-dd HH:mm")));
        return *it;
    }

  private:
    QHash<qint64, QString> cache_;
};

// What listing the folder returns: every name but "." and "..", hidden ones included.
quint64 countEntries(int parentFd, const char* name) {
    const int fd = ::openat(parentFd, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return 0;
    DIR* dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return 0;
    }
    quint64 count = 0;
    while (const dirent* e = ::readdir(dir)) {
        const char* n = e->d_name;
        if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0'))) continue;
        ++count;
    }
    ::closedir(dir);
    return count;
}

Entry readEntry(int dirFd, const char* rawName, MinuteFormatter& dates) {
    Entry entry;
    entry.name = BKDecodeFileName(QByteArray::fromRawData(rawName, qsizetype(std::strlen(rawName))));
    entry.key = BKNameSortKey(entry.name);
    struct stat own {};
    const bool haveOwn = ::fstatat(dirFd, rawName, &own, AT_SYMLINK_NOFOLLOW) == 0;
    if (haveOwn && !S_ISLNK(own.st_mode)) {
        entry.isDir = S_ISDIR(own.st_mode);
    } else {
        struct stat target {};
        entry.isDir = ::fstatat(dirFd, rawName, &target, 0) == 0 && S_ISDIR(target.st_mode);
    }
    const qint64 mtime = haveOwn ? qint64(own.st_mtim.tv_sec) : QDateTime::currentSecsSinceEpoch();
    const QString& date = dates.format(mtime);
    if (entry.isDir)
        entry.detail = QStringLiteral("%1 项 · %2").arg(countEntries(dirFd, rawName)).arg(date);
    else
        entry.detail = QStringLiteral("%1 字节 · %2").arg(haveOwn ? quint64(own.st_size) : 0).arg(date);
    return entry;
}

std::vector<Entry> readFolder(const QString& dirPath) {
    std::vector<Entry> entries;
    DIR* dir = ::opendir(BKEncodeFileName(dirPath).constData());
    if (!dir) {
        qCDebug(lcFiles) << "cannot list" << dirPath << std::strerror(errno);
        return entries;
    }
    MinuteFormatter dates;
    const int fd = ::dirfd(dir);
    while (const dirent* e = ::readdir(dir)) {
        if (e->d_name[0] == '.') continue; // hidden, "." and ".." included
        entries.push_back(readEntry(fd, e->d_name, dates));
    }
    ::closedir(dir);
    return entries;
}

bool isAscii(const QString& s) {
    return std::all_of(s.begin(), s.end(), [](QChar c) { return c.unicode() < 0x80; });
}

} // namespace

QString BKNameSortKey(const QString& name) {
    if (isAscii(name)) return name.toLower();
    // Decomposing before and after folding makes canonically equivalent names fold alike.
    return name.normalized(QString::NormalizationForm_D)
        .toCaseFolded()
        .normalized(QString::NormalizationForm_D);
}

QVariantList BKListFolder(const QString& dirPath) {
    std::vector<Entry> entries = readFolder(dirPath);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        if (a.isDir != b.isDir) return a.isDir;
        return a.key < b.key;
    });
    QVariantList items;
    items.reserve(qsizetype(entries.size()));
    for (Entry& entry : entries) {
        QVariantMap record;
        record.insert(QStringLiteral("path"), BKJoinPath(dirPath, entry.name));
        record.insert(QStringLiteral("name"), std::move(entry.name));
        record.insert(QStringLiteral("isDir"), entry.isDir);
        record.insert(QStringLiteral("detail"), std::move(entry.detail));
        items.append(std::move(record));
    }
    return items;
}

} // namespace brisko
