#pragma once
// A scratch folder for one extraction: base/dest is the destination, base/outside a folder with
// one file that no extraction may touch (links planted in dest point at it).

#include <QTemporaryDir>
#include <QRegularExpression>
#include <QTest>
#include <sys/statvfs.h>

#include "file_manager/zip/unzip.h"
#include "zip_builder.h"

namespace ziptest {

class Scratch {
public:
    Scratch()
        : dir_((QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm") : QDir::tempPath()) +
               "/unzip-test-XXXXXX")
    {
        QDir().mkpath(dest());
        QDir().mkpath(path("outside"));
        writeFile(path("outside/victim.txt"), kVictim);
    }

    static constexpr const char* kVictim = "the user's own file";

    QString path(const QString& relative) const { return dir_.filePath(relative); }
    QString dest() const { return dir_.filePath("dest"); }
    QString dest(const QString& relative) const { return dir_.filePath("dest/" + relative); }

    bool unzip(const QByteArray& archive, const brisko::UnzipLimits& limits = {})
    {
        writeFile(path("archive.zip"), archive);
        return unzipFile(path("archive.zip"), limits);
    }
    bool unzipFile(const QString& archive, const brisko::UnzipLimits& limits = {})
    {
        return brisko::BKUnzipFile(QFile::encodeName(archive).toStdString(), QFile::encodeName(dest()).toStdString(),
                                   limits);
    }

    // Everything outside dest is as it was.
    bool outsideUntouched() const
    {
        const QStringList all = tree(dir_.path()).filter(QRegularExpression("^(?!dest[/@]?)"));
        return all == QStringList({"archive.zip", "outside/", "outside/victim.txt"}) &&
               readFile(path("outside/victim.txt")) == kVictim;
    }

    QStringList output() const { return tree(dest()); }

private:
    QTemporaryDir dir_;
};

// The limits of a file system with `room` bytes left above its floor.
inline brisko::UnzipLimits roomFor(const QString& folder, uint64_t room)
{
    struct statvfs vfs {};
    ::statvfs(QFile::encodeName(folder).constData(), &vfs);
    const uint64_t available = uint64_t{vfs.f_bavail} * vfs.f_frsize;
    brisko::UnzipLimits limits;
    limits.minFreePercent = 0;
    limits.minFreeBytes = available > room ? available - room : 0;
    return limits;
}

}  // namespace ziptest
