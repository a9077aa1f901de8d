#include "script_log.h"

#include "daemon/logging.h"
#include "platform/fileio/write_all.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

// A line longer than this is written in pieces rather than held without bound.
constexpr qsizetype kLongestLine = 64 * 1024;

// Eight bytes at a time: this runs over every byte a fast writer sends.
bool isAscii(const char* data, qsizetype size) {
    quint64 seen = 0;
    qsizetype i = 0;
    for (quint64 word; i + 8 <= size; i += 8) {
        memcpy(&word, data + i, 8);
        seen |= word;
    }
    for (; i < size; ++i)
        seen |= static_cast<unsigned char>(data[i]);
    return (seen & 0x8080808080808080ULL) == 0;
}

// Plain copies into a buffer whose capacity outlives the chunk.
void appendBytes(QByteArray& out, const char* data, qsizetype size) {
    const qsizetype at = out.size();
    out.resize(at + size);
    memcpy(out.data() + at, data, size_t(size));
}

} // namespace

QByteArray validUtf8(const char* data, qsizetype size) {
    if (isAscii(data, size)) return QByteArray(data, size);
    return QString::fromUtf8(data, size).toUtf8();
}

void appendValidUtf8(QByteArray& out, const char* data, qsizetype size) {
    if (isAscii(data, size))
        out.append(data, size);
    else
        out += QString::fromUtf8(data, size).toUtf8();
}

QByteArray logTimestamp() {
    timeval now{};
    gettimeofday(&now, nullptr);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char text[40];
    const size_t n = strftime(text, sizeof text, "[%Y-%m-%d %H:%M:%S", &local);
    snprintf(text + n, sizeof text - n, ".%03d] ", int(now.tv_usec / 1000));
    return QByteArray(text);
}

ScriptLog::ScriptLog(QString path, uid_t owner, gid_t group, qint64 rotateAt)
    : path_(std::move(path)), encodedPath_(QFile::encodeName(path_)), owner_(owner), group_(group),
      rotateAt_(rotateAt) {}

ScriptLog::~ScriptLog() {
    if (fd_ >= 0) ::close(fd_);
}

// One timestamp and one write per chunk; the chunk is checked for UTF-8 once, not line by line.
void ScriptLog::append(const char* data, qsizetype size) {
    const QByteArray stamp = logTimestamp();
    const bool ascii = isAscii(data, size);
    out_.resize(0);
    out_.reserve(size + (size / 16 + 1) * stamp.size());
    const char* line = data;
    const char* const end = data + size;
    for (const char* nl; (nl = static_cast<const char*>(memchr(line, '\n', size_t(end - line))));
         line = nl + 1)
        appendLine(stamp, line, nl - line, ascii);
    partial_.append(line, end - line);
    if (partial_.size() >= kLongestLine) {
        out_ += stamp;
        appendValidUtf8(out_, partial_.constData(), partial_.size());
        out_ += '\n';
        partial_.clear();
    }
    if (!out_.isEmpty()) writeOut(out_);
}

void ScriptLog::appendLine(const QByteArray& stamp, const char* line, qsizetype size, bool ascii) {
    appendBytes(out_, stamp.constData(), stamp.size());
    if (ascii && partial_.isEmpty()) {
        appendBytes(out_, line, size + 1); // with its newline
        return;
    }
    if (!partial_.isEmpty()) {
        partial_.append(line, size);
        appendValidUtf8(out_, partial_.constData(), partial_.size());
        partial_.clear();
    } else {
        appendValidUtf8(out_, line, size);
    }
    out_ += '\n';
}

void ScriptLog::note(const QString& text) {
    const QByteArray stamp = logTimestamp();
    flushPartial(stamp);
    writeOut(stamp + text.toUtf8() + '\n');
}

void ScriptLog::flushPartial(const QByteArray& stamp) {
    if (partial_.isEmpty()) return;
    const QByteArray line = validUtf8(partial_.constData(), partial_.size());
    partial_.clear();
    writeOut(stamp + line + '\n');
}

void ScriptLog::writeOut(const QByteArray& text) {
    if (!ensureOpen()) return;
    if (size_ > 0 && size_ + text.size() > rotateAt_) {
        const QByteArray rotated = encodedPath_ + ".1";
        if (::rename(encodedPath_.constData(), rotated.constData()) != 0)
            qCDebug(lcDaemon, "log rotation failed: %s", strerror(errno));
        open();
        if (fd_ < 0) return;
    }
    if (fileio::writeAll(fd_, text.constData(), size_t(text.size())))
        size_ += text.size();
    else
        qCDebug(lcDaemon, "log write failed: %s", strerror(errno));
}

// The viewer clears the log by putting an empty file in its place: follow the path, not the fd.
bool ScriptLog::ensureOpen() {
    struct stat st {};
    const bool present = ::stat(encodedPath_.constData(), &st) == 0;
    if (fd_ >= 0 && present && st.st_dev == device_ && st.st_ino == inode_) {
        size_ = st.st_size; // truncated in place counts too
        return true;
    }
    open();
    return fd_ >= 0;
}

void ScriptLog::open() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = ::open(encodedPath_.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (fd_ < 0) {
        qCDebug(lcDaemon, "cannot open %s: %s", encodedPath_.constData(), strerror(errno));
        return;
    }
    struct stat st {};
    fstat(fd_, &st);
    device_ = st.st_dev;
    inode_ = st.st_ino;
    size_ = st.st_size;
    if (geteuid() == 0 && st.st_uid != owner_ && fchown(fd_, owner_, group_) != 0)
        qCDebug(lcDaemon, "cannot hand the log to uid %d: %s", int(owner_), strerror(errno));
}

} // namespace brisko::daemon
