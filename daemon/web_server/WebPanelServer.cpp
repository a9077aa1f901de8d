#include "WebPanelServer.h"

#include "app/status/notification_names.h"
#include "daemon/GuardedTcpServer.h"
#include "daemon/request_guard.h"
#include "daemon/web_server/static_files.h"
#include "platform/notify/notify.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QLoggingCategory>
#include <QTcpSocket>

Q_LOGGING_CATEGORY(lcWebPanel, "brisko.daemon.web", QtInfoMsg)

namespace brisko::web {
namespace {

using Method = QHttpServerRequest::Method;
using Status = QHttpServerResponder::StatusCode;

void answerText(QHttpServerResponder&& responder, Status status, const QByteArray& text,
                const QByteArray& allow = {}) {
    responder.writeStatusLine(status);
    responder.writeHeader("Content-Type", "text/plain; charset=utf-8");
    responder.writeHeader("Content-Length", QByteArray::number(text.size()));
    if (!allow.isEmpty()) responder.writeHeader("Allow", allow);
    responder.writeBody(text);
}

Status statusFor(Lookup lookup) {
    switch (lookup) {
    case Lookup::Found:
        return Status::Ok;
    case Lookup::Refused:
        return Status::Forbidden;
    case Lookup::TooLarge:
        return Status::PayloadTooLarge;
    case Lookup::Missing:
        break;
    }
    return Status::NotFound;
}

} // namespace

WebPanelServer::WebPanelServer(QString documents, QObject* parent)
    : QAbstractHttpServer(parent), documents_(std::move(documents)),
      onClose_([] { notify::post(QString::fromLatin1(names::kWebViewClose)); }),
      tcp_(new daemon::GuardedTcpServer(this)) {}

bool WebPanelServer::listenOnLoopback(quint16 port) {
    return tcp_->listenOnLoopbackFor(this, port);
}

quint16 WebPanelServer::port() const {
    return tcp_->serverPort();
}

bool WebPanelServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    tcp_->requestAnswered(socket);
    answer(request, socket);
    // The server keeps every connection open otherwise, and a client asking to close waits for it.
    if (request.value("connection").compare("close", Qt::CaseInsensitive) == 0) socket->disconnectFromHost();
    return true;
}

void WebPanelServer::answer(const QHttpServerRequest& request, QTcpSocket* socket) {
    if (!daemon::isLoopbackRequestAllowed(request.headers(), port()))
        return answerText(makeResponder(request, socket), Status::Forbidden, "forbidden\n");
    const Method method = request.method();
    if (request.url().path() == u"/close" && method == Method::Post) return close(request, socket);
    if (method == Method::Get || method == Method::Head)
        return serveFile(request, socket, method == Method::Get);
    answerText(makeResponder(request, socket), Status::MethodNotAllowed, "method not allowed\n", "GET, HEAD");
}

void WebPanelServer::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    answerText(makeResponder(request, socket), Status::NotFound, "not found\n");
}

void WebPanelServer::serveFile(const QHttpServerRequest& request, QTcpSocket* socket, bool withBody) {
    // The encoded path: decoding is the lookup's own business, done once, before it checks.
    const QByteArray path = request.url().path(QUrl::FullyEncoded).toUtf8();
    const StaticFile file = readStaticFile(documents_, "/app/web" + path);
    if (file.result != Lookup::Found) {
        if (file.result == Lookup::Refused) qCDebug(lcWebPanel, "refused %s", path.constData());
        answerText(makeResponder(request, socket), statusFor(file.result), "not served\n");
        return;
    }
    QHttpServerResponder responder = makeResponder(request, socket);
    responder.writeStatusLine(Status::Ok);
    responder.writeHeader("Content-Type", file.contentType);
    responder.writeHeader("Content-Length", QByteArray::number(file.contents.size()));
    responder.writeHeader("X-Content-Type-Options", "nosniff");
    responder.writeHeader("Cache-Control", "no-cache"); // a script may rewrite its page at any time
    // Ends the headers too, so a HEAD reply is complete without a body.
    responder.writeBody(withBody ? file.contents : QByteArray());
}

void WebPanelServer::close(const QHttpServerRequest& request, QTcpSocket* socket) {
    onClose_();
    makeResponder(request, socket).write(QByteArray("{\"ok\":true}"), "application/json");
}

} // namespace brisko::web
