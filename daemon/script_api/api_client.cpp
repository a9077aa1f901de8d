#include "api_client.h"

#include "api_protocol.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonParseError>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace brisko::scriptapi {
namespace {

constexpr char kUsage[] =
    "usage: api screenshot PATH | color_at X Y | tap X Y | swipe X1 Y1 X2 Y2 MS | key NAME |\n"
    "           webview show|close | log TEXT\n";

void printError(const QString& text) {
    std::fprintf(stderr, "api: %s\n", qPrintable(text));
}

int connectTo(const QByteArray& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.isEmpty() || size_t(path.size()) >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

bool sendAll(int fd, const QByteArray& bytes) {
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t n = ::send(fd, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        sent += n;
    }
    return true;
}

// One reply line; empty when the daemon closed first.
QByteArray readLine(int fd) {
    QByteArray line;
    char buffer[4096];
    while (!line.contains('\n') && line.size() <= kMaxLineBytes) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        line.append(buffer, n);
    }
    return line.left(line.indexOf('\n'));
}

QJsonObject exchange(const QJsonObject& request, QString* error) {
    const QByteArray path = qgetenv(kSocketVariable);
    const int fd = connectTo(path);
    if (fd < 0) {
        *error = path.isEmpty()
                     ? QStringLiteral("BRISKO_API is not set: run this from a script the daemon started")
                     : QStringLiteral("cannot reach %1: %2").arg(QFile::decodeName(path), strerror(errno));
        return {};
    }
    const QByteArray line = sendAll(fd, encodeLine(request)) ? readLine(fd) : QByteArray();
    ::close(fd);
    QJsonParseError parse{};
    const QJsonDocument reply = QJsonDocument::fromJson(line, &parse);
    if (!reply.isObject()) *error = QStringLiteral("the daemon gave no reply");
    return reply.object();
}

} // namespace

int runScriptApiCommand(const QStringList& args) {
    QString error;
    const QJsonObject request = requestFromWords(args, &error);
    if (request.isEmpty()) {
        printError(error);
        std::fputs(kUsage, stderr);
        return kApiUsage;
    }
    const QJsonObject reply = exchange(request, &error);
    if (reply.isEmpty()) {
        printError(error);
        return kApiUnreachable;
    }
    if (!reply.value("ok").toBool()) {
        printError(reply.value("error").toString());
        return kApiRefused;
    }
    if (reply.contains("color")) std::printf("%s\n", qPrintable(reply.value("color").toString()));
    return kApiDone;
}

} // namespace brisko::scriptapi
