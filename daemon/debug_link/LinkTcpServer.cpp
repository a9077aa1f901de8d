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
constexpr char kInspectProperty[] = "brisko_link_inspecting";
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

LinkTcpServer::LinkTcpServer(Admission admit, QObject* parent)
    : QTcpServer(parent), admit_(std::move(admit)) {}

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
    connect(socket, &QObject::destroyed, this, [this, socket] { live_.remove(socket); });
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    socket->setProperty(kInspectProperty, true);
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        if (socket->property(kInspectProperty).toBool())
            inspectHead(socket);
        else
            countBody(socket);
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
    socket->setProperty(kInspectProperty, false);
    socket->setProperty(kBudgetProperty, head.size + bodyBytes);
    armDeadline(socket, kBodyBaseSeconds + double(bodyBytes) / (1024 * 1024));
    addPendingConnection(socket);
    // The bytes are already buffered: without this the server would wait for more.
    emit socket->readyRead();
}

void LinkTcpServer::refuse(QTcpSocket* socket, const LinkRefusal& refusal) {
    qCDebug(lcDaemon, "debug link: refused with %d: %s", refusal.status, qPrintable(refusal.error));
    socket->setProperty(kInspectProperty, false);
    socket->setProperty(kBudgetProperty, qint64(-1));
    socket->write(refusalReply(refusal));
    socket->disconnectFromHost();
}

void LinkTcpServer::countBody(QTcpSocket* socket) {
    const qint64 budget = socket->property(kBudgetProperty).toLongLong();
    if (budget < 0) return; // released, or refused and closing
    const qint64 left = budget - socket->bytesAvailable();
    socket->setProperty(kBudgetProperty, qMax<qint64>(left, 0));
    if (left >= 0) return;
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
