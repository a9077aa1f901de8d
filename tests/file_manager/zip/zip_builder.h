#pragma once
// Builds ZIP archives byte by byte for the extractor's tests, with every field open to lies,
// and reads back what an extraction left on disk.

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>
#include <zlib.h>

namespace ziptest {

inline QByteArray deflateRaw(const QByteArray& data, int level = 6)
{
    z_stream s{};
    deflateInit2(&s, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(static_cast<int>(deflateBound(&s, data.size())), Qt::Uninitialized);
    s.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    s.avail_in = static_cast<uInt>(data.size());
    s.next_out = reinterpret_cast<Bytef*>(out.data());
    s.avail_out = static_cast<uInt>(out.size());
    deflate(&s, Z_FINISH);
    out.resize(static_cast<int>(s.total_out));
    deflateEnd(&s);
    return out;
}

// `count` zero bytes, deflated without ever holding them in memory at once.
inline QByteArray deflatedZeros(qint64 count)
{
    z_stream s{};
    deflateInit2(&s, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    const QByteArray zeros(1 << 20, '\0');
    QByteArray out;
    QByteArray chunk(1 << 16, Qt::Uninitialized);
    qint64 left = count;
    do {
        const int n = static_cast<int>(std::min<qint64>(left, zeros.size()));
        left -= n;
        s.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zeros.constData()));
        s.avail_in = static_cast<uInt>(n);
        const int flush = left == 0 ? Z_FINISH : Z_NO_FLUSH;
        do {
            s.next_out = reinterpret_cast<Bytef*>(chunk.data());
            s.avail_out = static_cast<uInt>(chunk.size());
            deflate(&s, flush);
            out.append(chunk.constData(), chunk.size() - static_cast<int>(s.avail_out));
        } while (s.avail_out == 0);
    } while (left > 0);
    deflateEnd(&s);
    return out;
}

struct Entry {
    QByteArray name;
    QByteArray payload;  // the bytes stored in the archive (already deflated for method 8)
    uint16_t method = 0;
    uint32_t uncompressedSize = 0;
    std::optional<uint32_t> compressedSize;     // default: payload size
    std::optional<uint32_t> localHeaderOffset;  // default: where the builder put it
    std::optional<uint32_t> shareLocalOf;       // point at entry N's local header (no own copy)
    QByteArray comment;
};

inline Entry stored(const QByteArray& name, const QByteArray& data)
{
    Entry e;
    e.name = name;
    e.payload = data;
    e.uncompressedSize = static_cast<uint32_t>(data.size());
    return e;
}

inline Entry deflated(const QByteArray& name, const QByteArray& data)
{
    Entry e;
    e.name = name;
    e.payload = deflateRaw(data);
    e.method = 8;
    e.uncompressedSize = static_cast<uint32_t>(data.size());
    return e;
}

struct Layout {
    QByteArray prefix;                      // bytes before the first local header
    std::optional<uint16_t> entryCount;     // the end record's count (default: entries)
    std::optional<uint32_t> directoryOffset;
    QByteArray archiveComment;
};

inline void put16(QByteArray& b, uint32_t v)
{
    b.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF));
}
inline void put32(QByteArray& b, uint32_t v)
{
    put16(b, v & 0xFFFF);
    put16(b, v >> 16);
}

inline QByteArray build(const std::vector<Entry>& entries, const Layout& layout = {})
{
    QByteArray zip = layout.prefix;
    std::vector<uint32_t> offsets;
    for (const Entry& e : entries) {
        if (e.shareLocalOf) {
            offsets.push_back(offsets.at(*e.shareLocalOf));
            continue;
        }
        offsets.push_back(static_cast<uint32_t>(zip.size()));
        put32(zip, 0x04034b50);
        put16(zip, 20);
        put16(zip, 0);
        put16(zip, e.method);
        put32(zip, 0);
        put32(zip, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(e.payload.constData()), e.payload.size())));
        put32(zip, static_cast<uint32_t>(e.payload.size()));
        put32(zip, e.uncompressedSize);
        put16(zip, static_cast<uint32_t>(e.name.size()));
        put16(zip, 0);
        zip.append(e.name).append(e.payload);
    }
    const uint32_t directory = static_cast<uint32_t>(zip.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        put32(zip, 0x02014b50);
        put16(zip, 0x031E);
        put16(zip, 20);
        put16(zip, 0);
        put16(zip, e.method);
        put32(zip, 0);
        put32(zip, 0);
        put32(zip, e.compressedSize.value_or(static_cast<uint32_t>(e.payload.size())));
        put32(zip, e.uncompressedSize);
        put16(zip, static_cast<uint32_t>(e.name.size()));
        put16(zip, 0);
        put16(zip, static_cast<uint32_t>(e.comment.size()));
        put16(zip, 0);
        put16(zip, 0);
        put32(zip, 0);
        put32(zip, e.localHeaderOffset.value_or(offsets[i]));
        zip.append(e.name).append(e.comment);
    }
    const uint32_t directorySize = static_cast<uint32_t>(zip.size()) - directory;
    put32(zip, 0x06054b50);
    put16(zip, 0);
    put16(zip, 0);
    put16(zip, layout.entryCount.value_or(static_cast<uint16_t>(entries.size())));
    put16(zip, static_cast<uint16_t>(entries.size()));
    put32(zip, directorySize);
    put32(zip, layout.directoryOffset.value_or(directory));
    put16(zip, static_cast<uint32_t>(layout.archiveComment.size()));
    zip.append(layout.archiveComment);
    return zip;
}

inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

inline QByteArray readFile(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// What lies under `root`: "path" for files, "path/" for folders, "path@" for links; sorted.
inline QStringList tree(const QString& root)
{
    QStringList out;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        const QString rel = QDir(root).relativeFilePath(info.filePath());
        out << (info.isSymLink() ? rel + "@" : info.isDir() ? rel + "/" : rel);
    }
    out.sort();
    return out;
}

}  // namespace ziptest
