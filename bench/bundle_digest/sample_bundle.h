#pragma once
// A synthetic application bundle of a chosen size, for timing the bundle digest.

#include <QByteArray>
#include <QList>
#include <QString>

namespace brisko::bench {

struct SampleBundle {
    QList<QByteArray> files; // native paths, in the order the digest reads them
    qint64 bytes = 0;        // total file content
};

// Writes about `fileCount` files of `totalBytes` in all under root (assets/ in folders of a
// hundred, an app/ folder, Info.plist), deterministic pseudo-random content.
void writeSampleBundle(const QString& root, int fileCount, qint64 totalBytes);

// The files below root in digest order, as the digest walks them.
SampleBundle listInDigestOrder(const QString& root);

} // namespace brisko::bench
