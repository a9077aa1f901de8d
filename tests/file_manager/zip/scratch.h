#pragma once
// A scratch folder for one extraction: base/dest is the destination, base/outside a folder with
// one file that no extraction may touch (links planted in dest point at it).

#include <QRegularExpression>
#include <QTemporaryDir>
#include <sys/statvfs.h>

#include "file_manager/zip/unzip.h"
#include "zip_builder.h"

namespace ziptest {

class Scratch {
  public:
    Scratch()
        : dir_((QFileInfo("/dev/shm").isWritable() ? QStringLiteral("/dev/shm") : QDir::tempPath()) +
               "/unzip-test-XXXXXX") {
        QDir().mkpath(dest());
        QDir().mkpath(path("outside"));
        writeFile(path("outside/victim.txt"), kVictim);
    }

    static constexpr const char* kVictim = "the user's own file";

    QString path(const QString& relative) const { return dir_.filePath(relative); }
    QString dest() const { return dir_.filePath("dest"); }
    QString dest(const QString& relative) const { return dir_.filePath("dest/" + relative); }

    bool unzip(const QByteArray& archive) {
        writeFile(path("archive.zip"), archive);
        return unzipFile(path("archive.zip"));
    }
    // room: what the destination's file system may still take, measured now (0: the default floor).
    bool unzipFile(const QString& archive, uint64_t room = 0) {
        brisko::UnzipLimits limits;
        if (room) {
            struct statvfs vfs {};
            ::statvfs(QFile::encodeName(dest()).constData(), &vfs);
            const uint64_t available = uint64_t{vfs.f_bavail} * vfs.f_frsize;
            limits.minFreeBytes = available > room ? available - room : 0;
        }
        return brisko::BKUnzipFile(QFile::encodeName(archive).toStdString(),
                                   QFile::encodeName(dest()).toStdString(), limits);
    }

    bool outsideUntouched() const {
        const QStringList all = tree(dir_.path()).filter(QRegularExpression("^(?!dest[/@]?|archive\\.zip$)"));
        return all == QStringList{"outside/", "outside/victim.txt"} &&
               readFile(path("outside/victim.txt")) == kVictim;
    }

    QStringList output() const { return tree(dest()); }

  private:
    QTemporaryDir dir_;
};

} // namespace ziptest
