#include "http_connection.h"

#include "platform/fileio/write_all.h"

#include <QList>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace brisko::cli {
namespace {

constexpr qsizetype kMaxHeadBytes = 64 * 1024;
constexpr size_t kReadBytes = 64 * 1024;

// A non-blocking connect bounded by a timeout, then back to blocking.
int connectWithin(const addrinfo& address, int timeoutMs, int* error) {
    const int fd =
        ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, address.ai_protocol);
    if (fd < 0) {
        *error = errno;
        return -1;
    }
    int result = ::connect(fd, address.ai_addr, address.ai_addrlen);
    if (result != 0 && errno == EINPROGRESS) {
        pollfd waiting{fd, POLLOUT, 0};
        socklen_t length = sizeof result;
        result = ::poll(&waiting, 1, timeoutMs) == 1 &&
                         ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &result, &length) == 0
                     ? result
                     : ETIMEDOUT;
        errno = result;
    }
    if (result != 0) {
        *error = errno;
        ::close(fd);
        return -1;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

} // namespace

HttpConnection::~HttpConnection() {
    if (fd_ >= 0) ::close(fd_);
}

QString HttpConnection::open(const QByteArray& host, quint16 port) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (const int failed =
            ::getaddrinfo(host.constData(), QByteArray::number(port).constData(), &hints, &found))
        return QString::fromLocal8Bit(::gai_strerror(failed));
    int error = EHOSTUNREACH;
    for (const addrinfo* address = found; address && fd_ < 0; address = address->ai_next)
        fd_ = connectWithin(*address, kConnectTimeoutMs, &error);
    ::freeaddrinfo(found);
    return fd_ >= 0 ? QString() : QString::fromLocal8Bit(std::strerror(error));
}

bool HttpConnection::write(const char* data, size_t size) {
    return fd_ >= 0 && fileio::writeAll(fd_, data, size);
}

bool HttpConnection::fill() {
    const qsizetype start = buffer_.size();
    buffer_.resize(start + qsizetype(kReadBytes));
    ssize_t n;
    do
        n = ::read(fd_, buffer_.data() + start, kReadBytes);
    while (n < 0 && errno == EINTR);
    readErrno_ = n < 0 ? errno : 0;
    buffer_.resize(start + std::max<qsizetype>(n, 0));
    return n > 0;
}

bool HttpConnection::readLine(QByteArray* line) {
    qsizetype end;
    while ((end = buffer_.indexOf("\r\n")) < 0)
        if (buffer_.size() > kMaxHeadBytes || !fill()) return false;
    *line = buffer_.left(end);
    buffer_.remove(0, end + 2);
    return true;
}

// length < 0: until the device closes the connection.
bool HttpConnection::readBody(qint64 length, const Bytes& body) {
    for (;;) {
        const qsizetype take =
            length < 0 ? buffer_.size() : qsizetype(std::min<qint64>(length, buffer_.size()));
        if (take > 0) body(buffer_.left(take));
        buffer_.remove(0, take);
        if (length >= 0) length -= take;
        if (length == 0) return true;
        if (!fill()) return length < 0 && readErrno_ == 0;
    }
}

bool HttpConnection::readChunked(const Bytes& body) {
    for (QByteArray line;;) {
        bool ok = false;
        if (!readLine(&line)) return false;
        const qint64 size = line.split(';').first().trimmed().toLongLong(&ok, 16);
        if (!ok || size < 0) return false;
        if (size == 0) return true;
        if (!readBody(size, body) || !readLine(&line)) return false;
    }
}

int HttpConnection::readReply(const BodySink& body, QString* error) {
    QByteArray line;
    int status = 100;
    qint64 length = -1;
    bool chunked = false;
    while (status / 100 == 1) { // an interim reply is followed by the real one
        if (!readLine(&line) || !line.startsWith("HTTP/1.")) {
            *error = readErrno_ ? QString::fromLocal8Bit(std::strerror(readErrno_))
                                : QStringLiteral("the device closed the connection without a reply");
            return 0;
        }
        status = line.mid(9, 3).toInt();
        while (readLine(&line) && !line.isEmpty()) {
            const qsizetype colon = line.indexOf(':');
            const QByteArray name = line.left(colon).trimmed().toLower(),
                             value = line.mid(colon + 1).trimmed();
            if (name == "content-length") length = value.toLongLong();
            if (name == "transfer-encoding") chunked = value.toLower().contains("chunked");
        }
    }
    const Bytes withStatus = [&](const QByteArray& bytes) { body(status, bytes); };
    if (!(chunked ? readChunked(withStatus) : readBody(length, withStatus)))
        *error = QStringLiteral("the reply was cut short");
    return status;
}

} // namespace brisko::cli
