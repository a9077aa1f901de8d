#include "script_api_server.h"

#include "api_protocol.h"

#include <QJsonDocument>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace brisko::scriptapi {
namespace {

constexpr size_t kReadBytes = 16 * 1024;

QString systemError(const char* step) {
    return QStringLiteral("%1: %2").arg(QLatin1String(step), QString::fromLocal8Bit(strerror(errno)));
}

// Replies are a few hundred bytes: one that does not fit in the socket's buffer belongs to a
// client that stopped reading, and it is dropped rather than waited for.
bool sendWhole(int fd, const QByteArray& bytes) {
    return ::send(fd, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL | MSG_DONTWAIT) == bytes.size();
}

QJsonObject replyTo(ApiCalls& calls, const QByteArray& line) {
    const QJsonDocument document = QJsonDocument::fromJson(line);
    if (!document.isObject()) return errorReply(QStringLiteral("not a JSON object"));
    if (const QString problem = validateRequest(document.object()); !problem.isEmpty())
        return errorReply(problem);
    return calls.handle(document.object());
}

} // namespace

std::unique_ptr<ScriptApiServer> ScriptApiServer::start(ScriptApiSettings settings, QString* error) {
    std::unique_ptr<ScriptApiServer> server(new ScriptApiServer(std::move(settings)));
    if (!server->listenPrivately(error)) return nullptr;
    server->thread_ = std::thread([raw = server.get()] { raw->serve(); });
    return server;
}

ScriptApiServer::ScriptApiServer(ScriptApiSettings settings) : settings_(std::move(settings)) {
    calls_ = std::make_unique<ApiCalls>(settings_, stopping_);
}

ScriptApiServer::~ScriptApiServer() {
    stopping_.store(true);
    calls_->interrupt(); // a call waiting on the main thread would hold up the join below
    if (wakeFd_ >= 0) (void)!::eventfd_write(wakeFd_, 1);
    if (thread_.joinable()) thread_.join();
    for (const Client& client : clients_)
        ::close(client.fd);
    if (listenFd_ >= 0) ::close(listenFd_);
    if (wakeFd_ >= 0) ::close(wakeFd_);
    if (!socketPath_.isEmpty()) ::unlink(socketPath_.constData());
    if (!directory_.isEmpty() && ::rmdir(directory_.constData()) != 0)
        qCDebug(lcScriptApi, "cannot remove %s: %s", directory_.constData(), strerror(errno));
}

QByteArray ScriptApiServer::environmentEntry() const {
    return QByteArray(kSocketVariable) + '=' + socketPath_;
}

// Made by root with mode 0700 and handed to the user only once the socket inside is 0600:
// nobody else ever sees either open.
bool ScriptApiServer::listenPrivately(QString* error) {
    QByteArray directory = "/tmp/brisko-api-XXXXXX";
    if (!mkdtemp(directory.data())) return (*error = systemError("mkdtemp")), false;
    directory_ = directory;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = directory_ + "/api.sock";
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    listenFd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listenFd_ < 0 || ::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        return (*error = systemError("bind")), false;
    socketPath_ = path;
    if (::chmod(path.constData(), 0600) != 0 || ::listen(listenFd_, kMaxApiClients) != 0)
        return (*error = systemError("listen")), false;
    const ScriptIdentity& who = settings_.identity;
    if (who.switchIdentity && (::lchown(path.constData(), who.uid, who.gid) != 0 ||
                               ::lchown(directory_.constData(), who.uid, who.gid) != 0))
        return (*error = systemError("chown")), false;
    wakeFd_ = ::eventfd(0, EFD_CLOEXEC);
    if (wakeFd_ < 0) return (*error = systemError("eventfd")), false;
    return true;
}

void ScriptApiServer::serve() {
    while (!stopping_.load()) {
        std::vector<pollfd> fds{{wakeFd_, POLLIN, 0}, {listenFd_, POLLIN, 0}};
        for (const Client& client : clients_)
            fds.push_back({client.fd, POLLIN, 0});
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            qCDebug(lcScriptApi, "poll: %s", strerror(errno));
            return;
        }
        if (fds[0].revents) return;
        // Clients first, by index, before a new one can shift them.
        for (size_t i = fds.size() - 1; i >= 2; --i) {
            if (!fds[i].revents || readFrom(clients_[i - 2])) continue;
            ::close(clients_[i - 2].fd);
            clients_.erase(clients_.begin() + long(i - 2));
        }
        if (fds[1].revents & POLLIN) acceptClient();
    }
}

void ScriptApiServer::acceptClient() {
    const int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return;
    QString refusal;
    if (!isPeerAllowed(fd))
        refusal = QStringLiteral("permission denied");
    else if (clients_.size() >= size_t(kMaxApiClients))
        refusal = QStringLiteral("too many connections");
    if (refusal.isEmpty()) {
        clients_.push_back({fd, {}});
        return;
    }
    qCDebug(lcScriptApi, "connection refused: %s", qPrintable(refusal));
    sendWhole(fd, encodeLine(errorReply(refusal)));
    ::close(fd);
}

// The file's mode already keeps others out; this holds even if someone loosens it.
bool ScriptApiServer::isPeerAllowed(int fd) const {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
    return peer.uid == 0 || peer.uid == settings_.identity.uid;
}

bool ScriptApiServer::readFrom(Client& client) {
    char buffer[kReadBytes];
    const ssize_t n = ::read(client.fd, buffer, sizeof buffer);
    if (n < 0) return errno == EINTR || errno == EAGAIN;
    if (n == 0) return false;
    client.pending.append(buffer, n);
    qsizetype end;
    while ((end = client.pending.indexOf('\n')) >= 0) {
        const QByteArray line = client.pending.left(end).trimmed();
        client.pending.remove(0, end + 1);
        if (end > kMaxLineBytes) return answer(client, {}), false;
        if (!line.isEmpty() && !answer(client, line)) return false;
    }
    if (client.pending.size() <= kMaxLineBytes) return true;
    answer(client, {});
    return false;
}

// An empty line stands for one over the cap.
bool ScriptApiServer::answer(Client& client, const QByteArray& line) {
    const QJsonObject reply = line.isEmpty()
                                  ? errorReply(QStringLiteral("line over %1 bytes").arg(kMaxLineBytes))
                                  : replyTo(*calls_, line);
    return sendWhole(client.fd, encodeLine(reply));
}

} // namespace brisko::scriptapi
