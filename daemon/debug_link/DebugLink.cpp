#include "DebugLink.h"

#include "daemon/ScriptSupervisor.h"
#include "daemon/TaskServer.h"
#include "daemon/debug_link/LogFollower.h"
#include "daemon/debug_link/app_files.h"
#include "daemon/debug_link/pairing_token.h"
#include "daemon/debug_link/project_swap.h"
#include "daemon/entry_point.h"
#include "daemon/logging.h"

#include <QBuffer>
#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QUrlQuery>

namespace brisko::daemon {
namespace {

constexpr qint64 kMaxLogReply = 8 * 1024 * 1024;
constexpr char kFilesPrefix[] = "/v1/files/";

bool isUpgrade(const QHttpServerRequest& request) {
    for (const auto& [name, value] : request.headers())
        if (name.compare("upgrade", Qt::CaseInsensitive) == 0) return true;
    return false;
}

QByteArray chunk(const QByteArray& bytes) {
    return QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n";
}

QByteArray readLog(const QString& path, qint64 offset, qint64 end) {
    QFile file(path);
    if (offset >= end || !file.open(QIODevice::ReadOnly) || !file.seek(offset)) return {};
    return file.read(qMin(end - offset, kMaxLogReply));
}

} // namespace

DebugLink::DebugLink(QString documents, ScriptSupervisor& supervisor, QObject* parent)
    : QAbstractHttpServer(parent), documents_(std::move(documents)), supervisor_(supervisor),
      tcp_(new LinkTcpServer([this](const RequestHead& head) { return admitHead(head); },
                             [this](const QUrl& url, const UploadBody& body, QTcpSocket* socket) {
                                 return putBody(url, body, socket);
                             },
                             this)),
      follower_(new LogFollower(documents_ + QStringLiteral("/script.log"), this)) {
    connect(this, &QAbstractHttpServer::newWebSocketConnection, this, &DebugLink::onWebSocket);
    connect(follower_, &LogFollower::lines, this, &DebugLink::onLogLines);
    connect(follower_, &LogFollower::appended, this, &DebugLink::onLogBytes);
    connect(&supervisor_, &ScriptSupervisor::stateChanged, this, [this](ScriptState state) {
        broadcast({{"type", "state"}, {"state", QString::fromLatin1(scriptStateName(state))}});
    });
}

DebugLink::~DebugLink() {
    tcp_->close();
    // Follow streams and requests in flight end now, while the HTTP server can still see them go.
    for (QTcpSocket* socket : tcp_->findChildren<QTcpSocket*>())
        socket->abort();
    // Closed here, not by the parent: their signals would reach a half-destroyed link.
    for (QWebSocket* client : std::exchange(eventClients_, {})) {
        client->disconnect(this);
        client->abort();
        delete client;
    }
    removeTokenFile(documents_);
}

bool DebugLink::start(quint16 port) {
    token_ = makePairingToken();
    if (token_.isEmpty() || !writeTokenFile(documents_, token_)) return false;
    if (!tcp_->listen(QHostAddress::Any, port)) {
        qCDebug(lcDaemon, "debug link: cannot listen on %u: %s", port, qPrintable(tcp_->errorString()));
        removeTokenFile(documents_);
        return false;
    }
    bind(tcp_);
    return true;
}

quint16 DebugLink::port() const {
    return tcp_->serverPort();
}

std::optional<LinkRefusal> DebugLink::admitHead(const RequestHead& head) const {
    const QByteArray presented = presentedToken(head.headers, head.target);
    if (presented.isEmpty()) return LinkRefusal{401, QStringLiteral("缺少配对令牌")};
    if (!tokensMatch(token_, presented)) return LinkRefusal{401, QStringLiteral("配对令牌错误")};
    return std::nullopt;
}

// Checked again on the parsed request: the head check is an early refusal, this one the rule.
std::optional<LinkRefusal> DebugLink::refusalFor(const QHttpServerRequest& request) const {
    RequestHead head;
    head.headers = request.headers();
    head.target = request.url().toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority);
    if (auto refusal = admitHead(head)) return refusal;
    if (isUpgrade(request) && request.url().path() != u"/v1/events")
        return LinkRefusal{404, QStringLiteral("未知请求")};
    if (isUpgrade(request) && eventClients_.size() >= kMaxEventClients)
        return LinkRefusal{429, QStringLiteral("事件连接过多")};
    return std::nullopt;
}

bool DebugLink::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    if (const auto refusal = refusalFor(request)) {
        // Answering an upgrade here would not stop it: declining it makes the server call
        // missingHandler and close the connection.
        if (isUpgrade(request)) return false;
        answer(socket, taskReply(refusal->error), refusal->status);
        return true;
    }
    if (isUpgrade(request)) {
        tcp_->releaseUpgraded(socket);
        return true;
    }
    if (!route(request, socket)) answer(socket, taskReply(QStringLiteral("未知请求")), 404);
    return true;
}

void DebugLink::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    const LinkRefusal refusal = refusalFor(request).value_or(LinkRefusal{404, QStringLiteral("未知请求")});
    answer(socket, taskReply(refusal.error), refusal.status);
}

bool DebugLink::route(const QHttpServerRequest& request, QTcpSocket* socket) {
    using Method = QHttpServerRequest::Method;
    using Handler = void (DebugLink::*)(const QHttpServerRequest&, QTcpSocket*);
    struct Route {
        Method method;
        QStringView path;
        Handler handler;
    };
    static constexpr Route kRoutes[] = {
        {Method::Get, u"/v1/info", &DebugLink::getInfo},
        {Method::Post, u"/v1/run", &DebugLink::run},
        {Method::Post, u"/v1/stop", &DebugLink::stop},
        {Method::Post, u"/v1/pause", &DebugLink::pause},
        {Method::Post, u"/v1/resume", &DebugLink::resume},
        {Method::Get, u"/v1/log", &DebugLink::getLog},
        {Method::Get, u"/v1/screenshot", &DebugLink::getScreenshot},
    };
    const QString path = request.url().path();
    for (const Route& route : kRoutes)
        if (request.method() == route.method && path == route.path) {
            (this->*route.handler)(request, socket);
            return true;
        }
    // Uploads normally arrive through putBody; an empty one comes this way.
    return request.method() == Method::Put && putBody(request.url(), UploadBody(), socket);
}

bool DebugLink::putBody(const QUrl& url, const UploadBody& body, QTcpSocket* socket) {
    if (url.path() == u"/v1/project") {
        const QString error = replaceAppFolder(documents_, body);
        answer(socket, taskReply(error), error.isEmpty() ? 200 : 422);
        return true;
    }
    const QByteArray path = url.path(QUrl::FullyEncoded).toUtf8();
    if (!path.startsWith(kFilesPrefix)) return false;
    const auto components = splitUploadPath(path.mid(qsizetype(qstrlen(kFilesPrefix))));
    if (!components) {
        answer(socket, taskReply(QStringLiteral("路径无效")), 400);
        return true;
    }
    const bool executable = QUrlQuery(url).queryItemValue(QStringLiteral("executable")) == u"1";
    const QString error = writeAppFile(documents_, *components, body.bytes(), executable);
    answer(socket, taskReply(error), error.isEmpty() ? 200 : 400);
    return true;
}

// One request per connection: nothing a client sends after it can queue up behind a slow reply.
void DebugLink::answer(QTcpSocket* socket, const QJsonObject& body, int status) {
    answerBytes(socket, status, QJsonDocument(body).toJson(QJsonDocument::Compact), "application/json");
}

void DebugLink::answerBytes(QTcpSocket* socket, int status, const QByteArray& body, const QByteArray& type,
                            const QByteArray& extraHeaders) {
    socket->write(httpReply(status, type, body, extraHeaders));
    socket->disconnectFromHost();
}

// The supervisor's answer as it stands; a refusal is a conflict with the script's state. A stop
// returns before the script has exited, so the reply says it is on its way.
void DebugLink::command(QTcpSocket* socket, const QString& error) {
    QJsonObject reply = taskReply(error);
    reply.insert("state", supervisor_.isStopping()
                              ? QStringLiteral("stopping")
                              : QString::fromLatin1(scriptStateName(supervisor_.state())));
    answer(socket, reply, error.isEmpty() ? 200 : 409);
}

void DebugLink::getInfo(const QHttpServerRequest&, QTcpSocket* socket) {
    answer(socket, info());
}

void DebugLink::run(const QHttpServerRequest&, QTcpSocket* socket) {
    command(socket, supervisor_.start());
}

void DebugLink::stop(const QHttpServerRequest&, QTcpSocket* socket) {
    command(socket, supervisor_.stop());
}

void DebugLink::pause(const QHttpServerRequest&, QTcpSocket* socket) {
    command(socket, supervisor_.pause());
}

void DebugLink::resume(const QHttpServerRequest&, QTcpSocket* socket) {
    command(socket, supervisor_.resume());
}

QJsonObject DebugLink::info() const {
    const EntryPoint entry = findEntryPoint(documents_, executableSearchPath());
    QJsonObject reply = taskReply();
    reply.insert("name", "floatball");
    reply.insert("version", QStringLiteral(BRISKO_VERSION));
    reply.insert("api", 1);
    reply.insert("state", QString::fromLatin1(scriptStateName(supervisor_.state())));
    reply.insert("entry", entry.error.isEmpty() ? QJsonValue(entry.description) : QJsonValue());
    if (!entry.error.isEmpty()) reply.insert("entry_error", entry.error);
    reply.insert("events_clients", int(eventClients_.size()));
    return reply;
}

void DebugLink::getLog(const QHttpServerRequest& request, QTcpSocket* socket) {
    const QUrlQuery query(request.url());
    bool hasOffset = false;
    const qint64 offset = query.queryItemValue(QStringLiteral("offset")).toLongLong(&hasOffset);
    if (query.hasQueryItem(QStringLiteral("offset")) && (!hasOffset || offset < 0))
        return answer(socket, taskReply(QStringLiteral("offset 无效")), 400);
    follower_->catchUp();
    if (query.queryItemValue(QStringLiteral("follow")) == u"1")
        return followLog(socket, hasOffset ? offset : follower_->position());
    const QByteArray bytes = readLog(follower_->path(), offset, follower_->position());
    answerBytes(socket, 200, bytes, "text/plain; charset=utf-8",
                "X-Log-Next-Offset: " + QByteArray::number(offset + bytes.size()) + "\r\n");
}

// A chunked reply that stays open: the log's bytes from `offset`, then each as it is written.
void DebugLink::followLog(QTcpSocket* socket, qint64 offset) {
    tcp_->release(socket);
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=utf-8\r\nCache-Control: no-cache\r\n"
                  "Transfer-Encoding: chunked\r\n\r\n");
    const QByteArray earlier = readLog(follower_->path(), offset, follower_->position());
    if (!earlier.isEmpty()) socket->write(chunk(earlier));
    logStreams_ << QPointer(socket);
}

void DebugLink::getScreenshot(const QHttpServerRequest&, QTcpSocket* socket) {
    const QImage image = capture_ ? capture_() : QImage();
    QByteArray png;
    QBuffer buffer(&png);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return answer(socket, taskReply(QStringLiteral("无法截屏")), 503);
    answerBytes(socket, 200, png, "image/png");
}

void DebugLink::onWebSocket() {
    while (hasPendingWebSocketConnections()) {
        QWebSocket* client = nextPendingWebSocketConnection().release();
        client->setMaxAllowedIncomingFrameSize(kMaxFrameBytes);
        client->setMaxAllowedIncomingMessageSize(kMaxFrameBytes);
        connect(client, &QWebSocket::disconnected, this, [this, client] { dropEventsClient(client); });
        eventClients_ << client;
        client->sendTextMessage(QString::fromUtf8(
            QJsonDocument(QJsonObject{{"type", "state"},
                                      {"state", QString::fromLatin1(scriptStateName(supervisor_.state()))}})
                .toJson(QJsonDocument::Compact)));
        if (eventClients_.size() == 1) emit connectedChanged(true);
    }
}

void DebugLink::dropEventsClient(QWebSocket* client) {
    if (!eventClients_.removeOne(client)) return;
    client->disconnect(this);
    client->abort();
    client->deleteLater();
    if (eventClients_.isEmpty()) emit connectedChanged(false);
}

void DebugLink::broadcast(const QJsonObject& message) {
    const QString text = QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
    for (QWebSocket* client : QList(eventClients_)) {
        if (client->bytesToWrite() > kMaxBacklogBytes) {
            qCDebug(lcDaemon, "debug link: an events client fell behind and was dropped");
            dropEventsClient(client);
            continue;
        }
        client->sendTextMessage(text);
    }
}

void DebugLink::onLogLines(const QList<QByteArray>& lines) {
    for (const QByteArray& line : lines)
        broadcast({{"type", "log"}, {"text", QString::fromUtf8(line)}});
}

void DebugLink::onLogBytes(const QByteArray& bytes) {
    logStreams_.removeIf([](const QPointer<QTcpSocket>& socket) {
        return !socket || socket->state() != QAbstractSocket::ConnectedState;
    });
    for (const QPointer<QTcpSocket>& socket : logStreams_) {
        if (socket->bytesToWrite() > kMaxBacklogBytes)
            socket->abort();
        else
            socket->write(chunk(bytes));
    }
}

} // namespace brisko::daemon
