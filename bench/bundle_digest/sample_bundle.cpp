#include "bench/bundle_digest/sample_bundle.h"

#include "app/assets/digest.h"
#include "app/assets/native_fs.h"

#include <QDir>
#include <QFile>

#include <random>

namespace brisko::bench {
namespace {
QByteArray randomBytes(std::mt19937_64& random, qint64 size) {
    QByteArray bytes(size, 0); // zeroed: the tail past the last whole word stays 0
    for (qint64 i = 0; i + 8 <= size; i += 8) {
        const quint64 word = random();
        memcpy(bytes.data() + i, &word, 8);
    }
    return bytes;
}

void writeFile(const QString& path, const QByteArray& content) {
    QDir().mkpath(path.section('/', 0, -2));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(content);
}

void collect(const QByteArray& dir, SampleBundle& bundle) {
    for (const QByteArray& name : assets::digestOrder(dir)) {
        const QByteArray path = assets::joinPath(dir, name);
        const assets::EntryInfo info = assets::statFollowingLinks(path);
        if (info.kind == assets::EntryKind::Directory) collect(path, bundle);
        if (info.kind != assets::EntryKind::RegularFile) continue;
        bundle.files.append(path);
        bundle.bytes += QFileInfo(QFile::decodeName(path)).size();
    }
}
} // namespace

void writeSampleBundle(const QString& root, int fileCount, qint64 totalBytes) {
    std::mt19937_64 random(20261123);
    const qint64 mean = totalBytes / fileCount;
    std::uniform_int_distribution<qint64> size(mean / 5, mean * 9 / 5);
    writeFile(root + "/Info.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>\n");
    writeFile(root + "/app/main.lua", "print(\"sample\")\n");
    for (int i = 2; i < fileCount; ++i) {
        const QString path = QStringLiteral("%1/assets/pack%2/item%3.bin").arg(root).arg(i / 100).arg(i);
        writeFile(path, randomBytes(random, size(random)));
    }
}

SampleBundle listInDigestOrder(const QString& root) {
    SampleBundle bundle;
    collect(QFile::encodeName(root), bundle);
    return bundle;
}

} // namespace brisko::bench
