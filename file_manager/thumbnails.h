#pragma once
// Thumbnails of image files: at most 112 pixels on the longest side, orientation tag applied,
// decoded at reduced size where the format allows (JPEG). Safe from any thread.

#include <QCache>
#include <QImage>
#include <QMutex>
#include <QString>

namespace brisko {

inline constexpr int kThumbnailMaxPixelSize = 112;
inline constexpr int kThumbnailCacheEntries = 80;

// A null image when the file cannot be decoded; a failure is not remembered. Cached by path,
// exactly as passed, and never invalidated when the file changes.
QImage BKThumbnailForImagePath(const QString& path);

// Decodes without looking at or filling the cache.
QImage BKDecodeThumbnail(const QString& path);

// The process-wide cache (80 entries), created on first use. Guard uses with BKThumbnailCacheLock.
QCache<QString, QImage>& _BKThumbnailCache();
QMutex& BKThumbnailCacheLock();

} // namespace brisko
