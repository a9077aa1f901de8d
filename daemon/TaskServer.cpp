#include "TaskServer.h"

#include "daemon/request_guard.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QUrlQuery>

#include <utility>

namespace brisko::daemon {

QJsonObject taskReply(const QString& error) {
    if (error.isEmpty()) return {{"ok", true}};
    return {{"ok", false}, {"error", error}};
}

TaskServer::TaskServer(CommandHandler handler, QObject* parent)
    : QAbstractHttpServer(parent), handler_(std::move(handler)), tcp_(new GuardedTcpServer(this)) {}

bool TaskServer::listenOnLoopback(quint16 port) {
    return tcp_->listenOnLoopbackFor(this, port);
}

quint16 TaskServer::port() const {
    return tcp_->serverPort();
}

bool TaskServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    tcp_->requestAnswered(socket);
    if (!isLoopbackRequestAllowed(request.headers(), port())) {
        answer(request, socket, taskReply(QStringLiteral("拒绝访问")), 403);
        return true;
    }
    if (request.url().path() != QStringLiteral("/task")) return false;
    if (request.method() != QHttpServerRequest::Method::Get) {
        answer(request, socket, taskReply(QStringLiteral("只支持 GET")), 405);
        return true;
    }
    const QString cmd = QUrlQuery(request.url()).queryItemValue(QStringLiteral("cmd"));
    answer(request, socket, handler_(cmd), 200);
    return true;
}

void TaskServer::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    answer(request, socket, taskReply(QStringLiteral("未知请求")), 404);
}

void TaskServer::answer(const QHttpServerRequest& request, QTcpSocket* socket, const QJsonObject& body,
                        int status) {
    makeResponder(request, socket).write(QJsonDocument(body), QHttpServerResponder::StatusCode(status));
    // The server keeps every connection open otherwise, and a client asking to close waits for it.
    for (const auto& [name, value] : request.headers())
        if (name.compare("connection", Qt::CaseInsensitive) == 0 &&
            value.trimmed().compare("close", Qt::CaseInsensitive) == 0)
            socket->disconnectFromHost();
}

} // namespace brisko::daemon
