#include "thumbnails.h"

#include "file_names.h"
#include "logging.h"

#include <QFile>
#include <QImageReader>
#include <QMutex>

#include <fcntl.h>
#include <unistd.h>

namespace brisko {
namespace {

QSize boundedSize(QSize size) {
    const int longest = qMax(size.width(), size.height());
    if (longest <= kThumbnailMaxPixelSize) return size;
    return size.scaled(kThumbnailMaxPixelSize, kThumbnailMaxPixelSize, Qt::KeepAspectRatio)
        .expandedTo(QSize(1, 1));
}

// Opened by bytes, so names that are not UTF-8 decode too.
bool openForReading(QFile& file, const QString& path) {
    const int fd = ::open(BKEncodeFileName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    if (file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) return true;
    ::close(fd);
    return false;
}

} // namespace

QCache<QString, QImage>& _BKThumbnailCache() {
    static QCache<QString, QImage> cache(kThumbnailCacheEntries);
    return cache;
}

QMutex& BKThumbnailCacheLock() {
    static QMutex lock;
    return lock;
}

QImage BKDecodeThumbnail(const QString& path) {
    QFile file;
    if (!openForReading(file, path)) return {};
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    const QSize stored = reader.size();
    // The reader scales the stored image, before any rotation; the longest side is the same.
    if (stored.isValid()) reader.setScaledSize(boundedSize(stored));
    QImage image = reader.read();
    if (image.isNull()) {
        qCDebug(lcFiles) << "no thumbnail for" << path << reader.errorString();
        return {};
    }
    if (qMax(image.width(), image.height()) > kThumbnailMaxPixelSize)
        image = image.scaled(boundedSize(image.size()), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

QImage BKThumbnailForImagePath(const QString& path) {
    if (path.isEmpty()) return {};
    {
        QMutexLocker locker(&BKThumbnailCacheLock());
        if (const QImage* hit = _BKThumbnailCache().object(path)) return *hit;
    }
    QImage image = BKDecodeThumbnail(path);
    if (image.isNull()) return {};
    QMutexLocker locker(&BKThumbnailCacheLock());
    _BKThumbnailCache().insert(path, new QImage(image));
    return image;
}

} // namespace brisko
