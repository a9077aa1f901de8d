#include "script_log.h"

#include "daemon/logging.h"

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

bool isAscii(const char* data, qsizetype size) {
    for (qsizetype i = 0; i < size; ++i)
        if (static_cast<unsigned char>(data[i]) >= 0x80) return false;
    return true;
}

bool writeAll(int fd, const char* data, qsizetype size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size_t(size));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= n;
    }
    return true;
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

void ScriptLog::append(const char* data, qsizetype size) {
    const QByteArray stamp = logTimestamp();
    QByteArray out;
    out.reserve(size + size / 8 + stamp.size());
    qsizetype start = 0;
    for (const char* nl; (nl = static_cast<const char*>(memchr(data + start, '\n', size_t(size - start))));) {
        const qsizetype end = nl - data;
        out += stamp;
        if (partial_.isEmpty()) {
            appendValidUtf8(out, data + start, end - start);
        } else {
            partial_.append(data + start, end - start);
            appendValidUtf8(out, partial_.constData(), partial_.size());
            partial_.clear();
        }
        out += '\n';
        start = end + 1;
    }
    partial_.append(data + start, size - start);
    if (partial_.size() >= kLongestLine) {
        out += stamp;
        appendValidUtf8(out, partial_.constData(), partial_.size());
        out += '\n';
        partial_.clear();
    }
    if (!out.isEmpty()) writeOut(out);
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
    if (writeAll(fd_, text.constData(), text.size()))
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
