#pragma once
// Builds ZIP archives byte by byte for the extractor's tests, with every field open to lies,
// and reads back what an extraction left on disk.

#include <QDir>
#include <QDirIterator>
#include <algorithm>
#include <bit>
#include <optional>
#include <vector>
#include <zlib.h>

namespace ziptest {

// `total` bytes of `data` repeated, deflated a piece at a time so bombs never sit in memory.
inline QByteArray deflateRaw(const QByteArray& data, qint64 total = -1) {
    z_stream s{};
    deflateInit2(&s, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    QByteArray out, chunk(1 << 16, Qt::Uninitialized);
    qint64 left = total < 0 ? data.size() : total;
    do {
        const qint64 n = std::min<qint64>(left, data.size());
        left -= n;
        s.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
        s.avail_in = static_cast<uInt>(n);
        do {
            s.next_out = reinterpret_cast<Bytef*>(chunk.data());
            s.avail_out = static_cast<uInt>(chunk.size());
            deflate(&s, left > 0 ? Z_NO_FLUSH : Z_FINISH);
            out.append(chunk.constData(), chunk.size() - static_cast<int>(s.avail_out));
        } while (s.avail_out == 0);
    } while (left > 0);
    deflateEnd(&s);
    return out;
}

struct Entry {
    QByteArray name;
    QByteArray payload; // as stored in the archive (already deflated for method 8)
    uint16_t method = 0;
    uint32_t uncompressedSize = 0;
    std::optional<uint32_t> compressedSize;    // default: payload size
    std::optional<uint32_t> localHeaderOffset; // when set, the entry gets no local header of its own
    QByteArray comment;
    uint16_t madeBy = 0x031E;        // Unix, version 3.0
    uint32_t externalAttributes = 0; // a Unix mode sits in the high half
};

inline Entry stored(const QByteArray& name, const QByteArray& data) {
    return {name, data, 0, static_cast<uint32_t>(data.size()), {}, {}, {}};
}

inline Entry deflated(const QByteArray& name, const QByteArray& data, qint64 total = -1) {
    const auto uncompressed = static_cast<uint32_t>(total < 0 ? data.size() : total);
    return {name, deflateRaw(data, total), 8, uncompressed, {}, {}, {}};
}

struct Layout {
    std::optional<uint16_t> entryCount; // default: the number of entries
    std::optional<uint32_t> directoryOffset;
    QByteArray archiveComment;
};

static_assert(std::endian::native == std::endian::little, "fields are appended in host order");

template <typename... Field> void put(QByteArray& zip, Field... fields) {
    (zip.append(reinterpret_cast<const char*>(&fields), sizeof fields), ...);
}

inline QByteArray build(const std::vector<Entry>& entries, const Layout& layout = {}) {
    using u16 = uint16_t;
    using u32 = uint32_t;
    QByteArray zip;
    std::vector<u32> offsets;
    for (const Entry& e : entries) {
        offsets.push_back(e.localHeaderOffset.value_or(zip.size()));
        if (e.localHeaderOffset) continue;
        put(zip, u32(0x04034b50), u16(20), u16(0), e.method, u32(0), u32(0), u32(e.payload.size()),
            e.uncompressedSize, u16(e.name.size()), u16(0));
        zip.append(e.name).append(e.payload);
    }
    const u32 directory = zip.size();
    for (size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        put(zip, u32(0x02014b50), e.madeBy, u16(20), u16(0), e.method, u32(0), u32(0),
            e.compressedSize.value_or(e.payload.size()), e.uncompressedSize, u16(e.name.size()), u16(0),
            u16(e.comment.size()), u16(0), u16(0), e.externalAttributes, offsets[i]);
        zip.append(e.name).append(e.comment);
    }
    put(zip, u32(0x06054b50), u16(0), u16(0), layout.entryCount.value_or(entries.size()), u16(entries.size()),
        u32(zip.size() - directory), layout.directoryOffset.value_or(directory),
        u16(layout.archiveComment.size()));
    return zip.append(layout.archiveComment);
}

inline bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

inline QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// What lies under `root`: "path" for files, "path/" for folders, "path@" for links; sorted.
inline QStringList tree(const QString& root) {
    QStringList out;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString rel = QDir(root).relativeFilePath(info.filePath());
        out << (info.isSymLink() ? rel + "@" : info.isDir() ? rel + "/" : rel);
    }
    out.sort();
    return out;
}

} // namespace ziptest
