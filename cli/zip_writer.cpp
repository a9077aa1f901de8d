#include "zip_writer.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace brisko::cli {
namespace {

constexpr quint16 kUtf8Names = 0x0800;
constexpr quint16 kSizesAfterData = 0x0008; // the CRC is known only once the data is sent
constexpr quint16 kDosDate1980 = 0x21;
constexpr qint64 kMaxZipBytes = 0xFFFFFFFFLL; // no ZIP64
constexpr size_t kMaxEntries = 0xFFFF;
constexpr qint64 kLocalHeaderBytes = 30, kDescriptorBytes = 16, kCentralBytes = 46, kEndBytes = 22;
constexpr size_t kFlushBytes = 256 * 1024;

void put16(QByteArray& out, quint16 value) {
    out.append(char(value & 0xFF)).append(char(value >> 8));
}

void put32(QByteArray& out, quint32 value) {
    put16(out, quint16(value & 0xFFFF));
    put16(out, quint16(value >> 16));
}

// Local header and central record share this run of fields.
void putCommon(QByteArray& out, const ProjectFile& file, quint32 crc, bool local) {
    put16(out, 20);
    put16(out, kUtf8Names | kSizesAfterData);
    put16(out, 0); // stored
    put16(out, 0);
    put16(out, kDosDate1980);
    put32(out, local ? 0 : crc);
    put32(out, file.size);
    put32(out, file.size);
    put16(out, quint16(file.name.size()));
    put16(out, 0);
}

void putCentral(QByteArray& out, const ProjectFile& file, quint32 crc, quint32 offset) {
    put32(out, 0x02014b50);
    put16(out, (3 << 8) | 20); // made on Unix: the mode travels in the external attributes
    putCommon(out, file, crc, false);
    put16(out, 0);
    put16(out, 0);
    put16(out, 0);
    put32(out, (S_IFREG | file.mode) << 16);
    put32(out, offset);
    out += file.name;
}

void putEnd(QByteArray& out, size_t count, quint32 centralSize, quint32 centralOffset) {
    put32(out, 0x06054b50);
    put32(out, 0);
    put16(out, quint16(count));
    put16(out, quint16(count));
    put32(out, centralSize);
    put32(out, centralOffset);
    put16(out, 0);
}

// Folders in name order, so the same folder makes the same archive.
QString walk(const QByteArray& path, const QByteArray& prefix, ProjectPlan& plan) {
    struct dirent** names = nullptr;
    const int count = ::scandir(path.constData(), &names, nullptr, alphasort);
    if (count < 0) return QStringLiteral("cannot read %1").arg(QFile::decodeName(path));
    QString error;
    for (int i = 0; i < count; ++i) {
        const QByteArray name(names[i]->d_name);
        std::free(names[i]);
        if (!error.isEmpty() || name == "." || name == "..") continue;
        const QByteArray full = path + '/' + name;
        struct stat st {};
        if (::lstat(full.constData(), &st) != 0) {
            error = QStringLiteral("cannot read %1").arg(QFile::decodeName(full));
        } else if (S_ISDIR(st.st_mode)) {
            error = walk(full, prefix + name + '/', plan);
        } else if (S_ISREG(st.st_mode)) {
            if (plan.files.size() >= kMaxEntries) error = QStringLiteral("more than 65535 files");
            plan.files.push_back({prefix + name, full, quint32(st.st_size), quint32(st.st_mode & 0777)});
            plan.archiveBytes += kLocalHeaderBytes + kDescriptorBytes + kCentralBytes +
                                 2 * (prefix.size() + name.size()) + st.st_size;
            if (plan.archiveBytes > kMaxZipBytes) error = QStringLiteral("the project is over 4 GiB");
        }
    }
    std::free(names);
    return error;
}

// Pieces gathered into large writes: one per file would cost a system call per header.
class Batcher {
  public:
    explicit Batcher(const ByteSink& sink) : sink_(sink) { buffer_.reserve(kFlushBytes * 2); }
    QByteArray& buffer() { return buffer_; }
    bool flushIfFull() { return qsizetype(kFlushBytes) > buffer_.size() || flush(); }
    bool flush() {
        const bool ok = buffer_.isEmpty() || sink_(buffer_.constData(), size_t(buffer_.size()));
        buffer_.clear();
        return ok;
    }

  private:
    const ByteSink& sink_;
    QByteArray buffer_;
};

// The file's bytes into the batch; its CRC, or the reason it cannot be sent as planned.
QString appendData(Batcher& out, const ProjectFile& file, quint32& crc) {
    const QString changed = QStringLiteral("%1 changed while it was read").arg(QFile::decodeName(file.path));
    const int fd = ::open(file.path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    struct stat st {};
    if (fd < 0 || ::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || quint32(st.st_size) != file.size) {
        if (fd >= 0) ::close(fd);
        return changed;
    }
    crc = quint32(::crc32(0, nullptr, 0));
    QString error;
    for (quint32 left = file.size; left > 0 && error.isEmpty();) {
        QByteArray& buffer = out.buffer();
        const qsizetype start = buffer.size();
        const size_t step = std::min<size_t>(left, kFlushBytes);
        buffer.resize(start + qsizetype(step));
        const ssize_t n = ::read(fd, buffer.data() + start, step);
        buffer.resize(start + std::max<qsizetype>(n, 0));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error = changed;
            break;
        }
        crc = quint32(::crc32(crc, reinterpret_cast<const Bytef*>(buffer.constData() + start), uInt(n)));
        left -= quint32(n);
        if (!out.flushIfFull()) error = kSinkStopped;
    }
    ::close(fd);
    return error;
}

} // namespace

ProjectPlan planProject(const QString& folder) {
    ProjectPlan plan;
    struct stat st {};
    const QByteArray root = QFile::encodeName(folder);
    if (::stat(root.constData(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        plan.error = QStringLiteral("no folder %1").arg(folder);
        return plan;
    }
    plan.error = walk(root, {}, plan);
    plan.archiveBytes += kEndBytes;
    return plan;
}

QString writeProjectZip(const ProjectPlan& plan, const ByteSink& sink) {
    Batcher out(sink);
    std::vector<quint32> crcs;
    quint32 offset = 0;
    QByteArray central;
    for (const ProjectFile& file : plan.files) {
        put32(out.buffer(), 0x04034b50);
        putCommon(out.buffer(), file, 0, true);
        out.buffer() += file.name;
        quint32 crc = 0;
        if (const QString error = appendData(out, file, crc); !error.isEmpty()) return error;
        put32(out.buffer(), 0x08074b50);
        put32(out.buffer(), crc);
        put32(out.buffer(), file.size);
        put32(out.buffer(), file.size);
        putCentral(central, file, crc, offset);
        offset += quint32(kLocalHeaderBytes + kDescriptorBytes + file.name.size()) + file.size;
        if (!out.flushIfFull()) return kSinkStopped;
    }
    const quint32 centralOffset = offset;
    out.buffer() += central;
    putEnd(out.buffer(), plan.files.size(), quint32(central.size()), centralOffset);
    return out.flush() ? QString() : kSinkStopped;
}

ZipResult zipFolder(const QString& folder) {
    const ProjectPlan plan = planProject(folder);
    if (!plan.error.isEmpty()) return {{}, 0, plan.error};
    ZipResult result;
    result.archive.reserve(plan.archiveBytes);
    result.error = writeProjectZip(plan, [&](const char* data, size_t size) {
        result.archive.append(data, qsizetype(size));
        return true;
    });
    if (!result.error.isEmpty()) return {{}, 0, result.error};
    result.files = int(plan.files.size());
    return result;
}

} // namespace brisko::cli
