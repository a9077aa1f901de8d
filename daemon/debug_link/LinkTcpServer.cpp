#include "LinkTcpServer.h"

#include "daemon/logging.h"
#include "platform/dispatch/dispatch.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QTcpSocket>

#include <utility>

namespace brisko::daemon {
namespace {

constexpr char kBudgetProperty[] = "brisko_link_budget";
constexpr char kDeadlineProperty[] = "brisko_link_deadline";
constexpr char kPhaseProperty[] = "brisko_link_phase";
constexpr char kUploadHeadProperty[] = "brisko_link_upload_head";

enum class Phase { Head, Body, HandingOver, Served };
// A body gets this long plus a second per MiB it announced.
constexpr double kBodyBaseSeconds = 30.0;

QByteArray reasonPhrase(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 409:
        return "Conflict";
    case 411:
        return "Length Required";
    case 413:
        return "Payload Too Large";
    case 404:
        return "Not Found";
    case 422:
        return "Unprocessable Content";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    default:
        return "Error";
    }
}

std::optional<qint64> announcedBody(const RequestHead& head) {
    if (!headerValues(head.headers, "transfer-encoding").isEmpty()) return std::nullopt;
    const QList<QByteArray> lengths = headerValues(head.headers, "content-length");
    if (lengths.isEmpty()) return 0;
    bool ok = false;
    const qint64 length = lengths.first().toLongLong(&ok);
    if (lengths.size() != 1 || !ok || length < 0) return std::nullopt;
    return length;
}

} // namespace

QByteArray httpReply(int status, const QByteArray& contentType, const QByteArray& body,
                     const QByteArray& extraHeaders) {
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) +
           "\r\nContent-Type: " + contentType + "\r\nConnection: close\r\n" + extraHeaders +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray refusalReply(const LinkRefusal& refusal) {
    const QByteArray body =
        QJsonDocument(QJsonObject{{"ok", false}, {"error", refusal.error}}).toJson(QJsonDocument::Compact);
    return httpReply(refusal.status, "application/json", body);
}

LinkTcpServer::LinkTcpServer(Admission admit, Upload upload, QObject* parent)
    : QTcpServer(parent), admit_(std::move(admit)), upload_(std::move(upload)) {}

void LinkTcpServer::incomingConnection(qintptr descriptor) {
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor) || live_.size() >= kMaxLinkConnections) {
        qCDebug(lcDaemon, "debug link: connection refused, %d open", int(live_.size()));
        socket->abort();
        socket->deleteLater();
        return;
    }
    // Counted out when it closes: its deletion waits for the event loop, and newcomers should not.
    live_.insert(socket);
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] { live_.remove(socket); });
    connect(socket, &QObject::destroyed, this, [this, socket] {
        live_.remove(socket);
        uploads_.erase(socket);
    });
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    socket->setProperty(kPhaseProperty, int(Phase::Head));
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        switch (Phase(socket->property(kPhaseProperty).toInt())) {
        case Phase::Head:
            return inspectHead(socket);
        case Phase::Body:
            return awaitBody(socket);
        case Phase::HandingOver:
            return;
        case Phase::Served:
            return countServed(socket);
        }
    });
    armDeadline(socket, kHeadSeconds);
}

void LinkTcpServer::inspectHead(QTcpSocket* socket) {
    // Peeked, not read: the HTTP server reads the same bytes once it has the connection.
    const std::optional<RequestHead> head = parseRequestHead(socket->peek(kMaxHeadBytes + 1));
    if (!head) return;
    if (head->method.isEmpty()) return refuse(socket, {431, QStringLiteral("请求头无效或过大")});
    const std::optional<qint64> body = announcedBody(*head);
    if (!body) return refuse(socket, {411, QStringLiteral("请求须带 Content-Length")});
    if (const std::optional<LinkRefusal> refusal = admit_(*head)) return refuse(socket, *refusal);
    if (*body > kMaxLinkBodyBytes) return refuse(socket, {413, QStringLiteral("请求过大")});
    admit(socket, *head, *body);
}

void LinkTcpServer::admit(QTcpSocket* socket, const RequestHead& head, qint64 bodyBytes) {
    socket->setProperty(kPhaseProperty, int(Phase::Body));
    socket->setProperty(kBudgetProperty, head.size + bodyBytes);
    socket->setProperty(kUploadHeadProperty, head.method == "PUT" && bodyBytes > 0 ? head.size : qint64(0));
    armDeadline(socket, kBodyBaseSeconds + double(bodyBytes) / (1024 * 1024));
    // curl waits a second for this before sending a large body; the server would never say it.
    for (const QByteArray& expect : headerValues(head.headers, "expect"))
        if (bodyBytes > 0 && expect.compare("100-continue", Qt::CaseInsensitive) == 0)
            socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    awaitBody(socket);
}

// The HTTP server gets the request whole: it parses it once instead of again on every piece,
// and a slow upload never reaches it.
void LinkTcpServer::awaitBody(QTcpSocket* socket) {
    if (uploads_.count(socket)) return receiveUpload(socket);
    if (const qint64 head = socket->property(kUploadHeadProperty).toLongLong(); head > 0)
        return startUpload(socket, head);
    const qint64 expected = socket->property(kBudgetProperty).toLongLong();
    if (socket->bytesAvailable() < expected) return;
    if (socket->bytesAvailable() > expected) return drop(socket);
    socket->setProperty(kPhaseProperty, int(Phase::HandingOver));
    socket->setProperty(kBudgetProperty, qint64(0));
    addPendingConnection(socket);
    // The bytes are already buffered: without this the server would wait for more.
    const QPointer guard(socket);
    emit socket->readyRead();
    if (guard && guard->property(kPhaseProperty).toInt() == int(Phase::HandingOver))
        guard->setProperty(kPhaseProperty, int(Phase::Served));
}

void LinkTcpServer::refuse(QTcpSocket* socket, const LinkRefusal& refusal) {
    qCDebug(lcDaemon, "debug link: refused with %d: %s", refusal.status, qPrintable(refusal.error));
    socket->setProperty(kPhaseProperty, int(Phase::Served));
    socket->setProperty(kBudgetProperty, qint64(-1));
    socket->write(refusalReply(refusal));
    socket->disconnectFromHost();
}

// The HTTP server reads a large body from its buffer at a cost that grows with the square of its
// pieces (seconds for tens of MiB), so uploads are taken from the socket here, as they arrive,
// into a memory file.
void LinkTcpServer::startUpload(QTcpSocket* socket, qint64 headBytes) {
    socket->setProperty(kUploadHeadProperty, qint64(0));
    const RequestHead head = parseRequestHead(socket->read(headBytes)).value_or(RequestHead{});
    auto upload = std::make_unique<PendingUpload>();
    upload->url = QUrl::fromEncoded(head.target);
    upload->remaining = socket->property(kBudgetProperty).toLongLong() - headBytes;
    if (!upload->body.isValid()) return refuse(socket, {503, QStringLiteral("写入失败")});
    uploads_[socket] = std::move(upload);
    receiveUpload(socket);
}

void LinkTcpServer::receiveUpload(QTcpSocket* socket) {
    PendingUpload& upload = *uploads_.at(socket);
    char piece[64 * 1024];
    while (upload.remaining > 0 && socket->bytesAvailable() > 0) {
        const qint64 n = socket->read(piece, qMin<qint64>(sizeof piece, upload.remaining));
        if (n <= 0 || !upload.body.append(piece, n)) {
            uploads_.erase(socket);
            return refuse(socket, {503, QStringLiteral("写入失败")});
        }
        upload.remaining -= n;
    }
    if (upload.remaining > 0) return;
    if (socket->bytesAvailable() > 0) return drop(socket);
    const std::unique_ptr<PendingUpload> done = std::move(uploads_.at(socket));
    uploads_.erase(socket);
    socket->setProperty(kPhaseProperty, int(Phase::Served));
    socket->setProperty(kBudgetProperty, qint64(0));
    if (!upload_(done->url, done->body, socket)) {
        socket->write(refusalReply({404, QStringLiteral("未知请求")}));
        socket->disconnectFromHost();
    }
}

// One request per connection: whatever follows the request it was served for is dropped.
void LinkTcpServer::countServed(QTcpSocket* socket) {
    if (socket->property(kBudgetProperty).toLongLong() < 0) return; // a stream: the client may talk
    if (socket->bytesAvailable() > 0) drop(socket);
}

void LinkTcpServer::drop(QTcpSocket* socket) {
    qCDebug(lcDaemon, "debug link: more bytes than the head announced, dropped");
    socket->abort();
}

void LinkTcpServer::release(QTcpSocket* socket) {
    socket->setProperty(kBudgetProperty, qint64(-1));
    socket->setProperty(kDeadlineProperty, socket->property(kDeadlineProperty).toULongLong() + 1);
}

void LinkTcpServer::releaseUpgraded(QTcpSocket* socket) {
    release(socket);
    live_.remove(socket);
}

void LinkTcpServer::armDeadline(QTcpSocket* socket, double seconds) {
    const quint64 generation = socket->property(kDeadlineProperty).toULongLong() + 1;
    socket->setProperty(kDeadlineProperty, generation);
    dispatchMainAfter(seconds, [socket = QPointer(socket), generation] {
        if (socket && socket->property(kDeadlineProperty).toULongLong() == generation) socket->abort();
    });
}

} // namespace brisko::daemon
