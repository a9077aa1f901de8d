#include "GuardedTcpServer.h"

#include "daemon/TaskServer.h"
#include "daemon/logging.h"
#include "daemon/request_guard.h"
#include "platform/dispatch/dispatch.h"

#include <QJsonDocument>
#include <QPointer>
#include <QTcpSocket>

#include <memory>
#include <utility>

namespace brisko::daemon {
namespace {

constexpr char kReceivedProperty[] = "brisko_received";
constexpr char kIdleGenerationProperty[] = "brisko_idle_generation";
constexpr char kHeadProperty[] = "brisko_head"; // the request's bytes until its header block ends

QByteArray refusal(const QByteArray& status, const QString& error) {
    const QByteArray body = QJsonDocument(taskReply(error)).toJson(QJsonDocument::Compact);
    return "HTTP/1.1 " + status + "\r\nContent-Type: application/json\r\nConnection: close\r\n" +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

void GuardedTcpServer::incomingConnection(qintptr descriptor) {
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor) || live_ >= kMaxConnections) {
        qCDebug(lcDaemon, "task endpoint: connection refused, %d open", live_);
        socket->abort();
        socket->deleteLater();
        return;
    }
    ++live_;
    // Counted out when it closes: its deletion waits for the event loop, and newcomers should not.
    auto countedOut = std::make_shared<bool>(false);
    const auto release = [this, countedOut] {
        if (!std::exchange(*countedOut, true)) --live_;
    };
    connect(socket, &QTcpSocket::disconnected, this, release);
    connect(socket, &QObject::destroyed, this, release);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    // Connected before the HTTP server's own handler, so this sees each chunk first.
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { countIncoming(socket); });
    socket->setProperty(kHeadProperty, QByteArray());
    armIdleTimer(socket);
    addPendingConnection(socket);
}

void GuardedTcpServer::countIncoming(QTcpSocket* socket) {
    const qint64 received = socket->property(kReceivedProperty).toLongLong() + socket->bytesAvailable();
    socket->setProperty(kReceivedProperty, received);
    if (received > kMaxRequestBytes) {
        qCDebug(lcDaemon, "task endpoint: request over %lld bytes refused", kMaxRequestBytes);
        socket->write(refusal("413 Payload Too Large", QStringLiteral("请求过大")));
        socket->flush();
        socket->abort();
        return;
    }
    if (!socket->property(kHeadProperty).isValid()) return; // the body is the server's to judge
    const QByteArray head =
        socket->property(kHeadProperty).toByteArray() + socket->peek(socket->bytesAvailable());
    switch (screenRequestHead(head)) {
    case RequestHead::Incomplete:
        socket->setProperty(kHeadProperty, head);
        break;
    case RequestHead::Complete:
        socket->setProperty(kHeadProperty, QVariant());
        break;
    case RequestHead::Malformed:
        refuseMalformed(socket);
        break;
    }
}

// Read out here, the bytes never reach the HTTP server, which would wait for more.
void GuardedTcpServer::refuseMalformed(QTcpSocket* socket) {
    qCDebug(lcDaemon, "task endpoint: not an HTTP request, refused");
    socket->skip(socket->bytesAvailable());
    socket->setProperty(kHeadProperty, QVariant());
    socket->write(refusal("400 Bad Request", QStringLiteral("请求无效")));
    socket->disconnectFromHost();
}

void GuardedTcpServer::requestAnswered(QTcpSocket* socket) {
    socket->setProperty(kReceivedProperty, qint64(0));
    socket->setProperty(kHeadProperty, QByteArray());
    armIdleTimer(socket);
}

void GuardedTcpServer::armIdleTimer(QTcpSocket* socket) {
    const quint64 generation = socket->property(kIdleGenerationProperty).toULongLong() + 1;
    socket->setProperty(kIdleGenerationProperty, generation);
    dispatchMainAfter(kIdleSeconds, [socket = QPointer(socket), generation] {
        if (socket && socket->property(kIdleGenerationProperty).toULongLong() == generation) socket->abort();
    });
}

bool GuardedTcpServer::listenOnLoopbackFor(QAbstractHttpServer* http, quint16 port) {
    if (!listen(QHostAddress::LocalHost, port)) {
        qCDebug(lcDaemon, "cannot listen on 127.0.0.1:%u: %s", port, qPrintable(errorString()));
        return false;
    }
    http->bind(this);
    return true;
}

} // namespace brisko::daemon
