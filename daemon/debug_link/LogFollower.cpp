#include "LogFollower.h"

#include "daemon/logging.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr qsizetype kReadChunk = 256 * 1024;
// A line longer than this is passed on in pieces rather than held without end.
constexpr qsizetype kMaxLineBytes = 64 * 1024;

} // namespace

LogFollower::LogFollower(QString path, QObject* parent)
    : QObject(parent), path_(std::move(path)), encodedPath_(QFile::encodeName(path_)) {
    if (openFile()) offset_ = ::lseek(fd_, 0, SEEK_END);
    inotify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const QByteArray folder = QFile::encodeName(QFileInfo(path_).absolutePath());
    constexpr uint32_t mask =
        IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE;
    if (inotify_ < 0 || inotify_add_watch(inotify_, folder.constData(), mask) < 0) {
        qCDebug(lcDaemon, "debug link: cannot watch the log: %s", strerror(errno));
        return;
    }
    notifier_ = new QSocketNotifier(inotify_, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &LogFollower::onNotified);
}

LogFollower::~LogFollower() {
    delete notifier_;
    if (inotify_ >= 0) ::close(inotify_);
    if (fd_ >= 0) ::close(fd_);
}

// Which file changed matters little: the folder is quiet apart from the log.
void LogFollower::onNotified() {
    char events[4096];
    while (::read(inotify_, events, sizeof events) > 0) {
    }
    catchUp();
}

void LogFollower::catchUp() {
    readToEnd();
    reopenIfReplaced();
}

void LogFollower::readToEnd() {
    if (fd_ < 0) return;
    struct stat st {};
    if (fstat(fd_, &st) == 0 && st.st_size < offset_) offset_ = 0; // cut short in place
    QByteArray chunk(kReadChunk, Qt::Uninitialized);
    for (;;) {
        const ssize_t got = ::pread(fd_, chunk.data(), size_t(chunk.size()), offset_);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return;
        offset_ += got;
        deliver(chunk.left(got));
    }
}

void LogFollower::reopenIfReplaced() {
    struct stat st {};
    const bool present = ::stat(encodedPath_.constData(), &st) == 0;
    if (fd_ >= 0 && present && st.st_dev == device_ && st.st_ino == inode_) return;
    if (!present) return;
    partial_.clear();
    offset_ = 0;
    if (openFile()) readToEnd();
}

bool LogFollower::openFile() {
    const int fd = ::open(encodedPath_.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st {};
    fstat(fd, &st);
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
    device_ = st.st_dev;
    inode_ = st.st_ino;
    return true;
}

void LogFollower::deliver(const QByteArray& bytes) {
    emit appended(bytes);
    partial_ += bytes;
    QList<QByteArray> whole;
    qsizetype start = 0;
    for (qsizetype end = partial_.indexOf('\n'); end >= 0; end = partial_.indexOf('\n', start)) {
        whole << partial_.mid(start, end - start);
        start = end + 1;
    }
    partial_.remove(0, start);
    if (partial_.size() > kMaxLineBytes) whole << std::exchange(partial_, {});
    if (!whole.isEmpty()) emit lines(whole);
}

} // namespace brisko::daemon
