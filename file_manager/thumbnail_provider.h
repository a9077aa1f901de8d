#pragma once
// Thumbnails reach QML through an image provider whose requests the engine runs off the main
// thread: a row shows its symbol until its thumbnail is ready.

#include <QString>

class QQmlEngine;

namespace brisko {

// "image://fbthumb/<hex of the path's bytes>": any name survives the URL.
QString BKThumbnailUrl(const QString& path);
// Idempotent.
void BKInstallThumbnailProvider(QQmlEngine* engine);

} // namespace brisko
