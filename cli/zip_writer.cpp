#include "zip_writer.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <zlib.h>

namespace brisko::cli {
namespace {

constexpr quint16 kUtf8Names = 0x0800;
constexpr quint16 kDosDate1980 = 0x21;
constexpr qint64 kMaxZipBytes = 0xFFFFFFFFLL; // no ZIP64
constexpr int kMaxEntries = 0xFFFF;

void put16(QByteArray& out, quint16 value) {
    out.append(char(value & 0xFF)).append(char(value >> 8));
}

void put32(QByteArray& out, quint32 value) {
    put16(out, quint16(value & 0xFFFF));
    put16(out, quint16(value >> 16));
}

struct Entry {
    QByteArray name;
    quint32 crc, size, offset, mode;
};

// Local header and central record share this run of fields.
void putCommon(QByteArray& out, const Entry& entry) {
    put16(out, 20);
    put16(out, kUtf8Names);
    put16(out, 0); // stored
    put16(out, 0);
    put16(out, kDosDate1980);
    put32(out, entry.crc);
    put32(out, entry.size);
    put32(out, entry.size);
    put16(out, quint16(entry.name.size()));
    put16(out, 0);
}

void putCentral(QByteArray& out, const Entry& entry) {
    put32(out, 0x02014b50);
    put16(out, (3 << 8) | 20); // made on Unix: the mode travels in the external attributes
    putCommon(out, entry);
    put16(out, 0);
    put16(out, 0);
    put16(out, 0);
    put32(out, entry.mode << 16);
    put32(out, entry.offset);
    out += entry.name;
}

void putEnd(QByteArray& out, int count, quint32 centralSize, quint32 centralOffset) {
    put32(out, 0x06054b50);
    put32(out, 0);
    put16(out, quint16(count));
    put16(out, quint16(count));
    put32(out, centralSize);
    put32(out, centralOffset);
    put16(out, 0);
}

quint32 unixMode(const QFileInfo& info) {
    struct stat st {};
    const QByteArray path = QFile::encodeName(info.filePath());
    return quint32(S_IFREG | (::stat(path.constData(), &st) == 0 ? st.st_mode & 0777 : 0644));
}

QString appendFile(QByteArray& out, QList<Entry>& entries, const QFileInfo& info, const QDir& root) {
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly)) return QStringLiteral("cannot read %1").arg(info.filePath());
    const QByteArray data = file.readAll();
    if (out.size() + data.size() > kMaxZipBytes) return QStringLiteral("the project is over 4 GiB");
    const Entry entry{root.relativeFilePath(info.filePath()).toUtf8(),
                      quint32(crc32(0, reinterpret_cast<const Bytef*>(data.constData()), uInt(data.size()))),
                      quint32(data.size()), quint32(out.size()), unixMode(info)};
    put32(out, 0x04034b50);
    putCommon(out, entry);
    out += entry.name;
    out += data;
    entries << entry;
    return {};
}

} // namespace

ZipResult zipFolder(const QString& folder) {
    const QDir root(folder);
    if (!root.exists()) return {{}, 0, QStringLiteral("no folder %1").arg(folder)};
    ZipResult result;
    QList<Entry> entries;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        if (entries.size() >= kMaxEntries) return {{}, 0, QStringLiteral("more than 65535 files")};
        result.error = appendFile(result.archive, entries, QFileInfo(it.next()), root);
        if (!result.error.isEmpty()) return {{}, 0, result.error};
    }
    const qsizetype centralOffset = result.archive.size();
    for (const Entry& entry : entries)
        putCentral(result.archive, entry);
    putEnd(result.archive, int(entries.size()), quint32(result.archive.size() - centralOffset),
           quint32(centralOffset));
    result.files = int(entries.size());
    return result;
}

} // namespace brisko::cli
