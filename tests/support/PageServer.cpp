#include "PageServer.h"

#include <QTcpSocket>
#include <QUrl>
#include <QUrlQuery>

namespace brisko::testing {
namespace {

constexpr qsizetype kMaxRequest = 16 * 1024;

QByteArray reply(int status, const QByteArray& reason, const QByteArray& body) {
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + reason +
           "\r\nContent-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\nConnection: close\r\n"
           "Content-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray headerValue(const QList<QByteArray>& lines, const QByteArray& name) {
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name) return line.mid(colon + 1).trimmed();
    }
    return {};
}

// A page of another site must not reach this one through a rebound name.
bool hostAllowed(const QByteArray& host) {
    const QByteArray port = ':' + QByteArray::number(PageServer::kPort);
    return host == "localhost" + port || host == "127.0.0.1" + port;
}

} // namespace

PageServer::PageServer(QObject* parent) : QObject(parent) {
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection())
            serve(socket);
    });
}

bool PageServer::listenOnLoopback() {
    return m_server.listen(QHostAddress::LocalHost, kPort);
}

void PageServer::setPage(const QString& path, const QByteArray& html) {
    m_pages.insert(path, html);
}

void PageServer::serve(QTcpSocket* socket) {
    auto* buffer = new QByteArray;
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QObject::destroyed, [buffer] { delete buffer; });
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
        buffer->append(socket->readAll());
        const bool complete = buffer->contains("\r\n\r\n");
        if (!complete && buffer->size() < kMaxRequest) return;
        socket->write(complete ? respond(*buffer) : reply(431, "Request Header Fields Too Large", {}));
        socket->disconnectFromHost();
    });
}

QByteArray PageServer::respond(const QByteArray& request) {
    const QList<QByteArray> lines = request.left(request.indexOf("\r\n\r\n")).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    if (!hostAllowed(headerValue(lines, "host"))) return reply(403, "Forbidden", {});
    if (requestLine.size() != 3 || requestLine[0] != "GET") return reply(405, "Method Not Allowed", {});
    const QUrl target(QString::fromLatin1(requestLine[1]));
    const QString path = target.path();
    m_hits[path] += 1;
    if (path == QLatin1String("/report")) {
        const QString text = QUrlQuery(target).queryItemValue("v", QUrl::FullyDecoded);
        m_reports.append(text);
        emit reported(text);
        return reply(204, "No Content", {});
    }
    const auto page = m_pages.constFind(path);
    return page == m_pages.constEnd() ? reply(404, "Not Found", {}) : reply(200, "OK", *page);
}

} // namespace brisko::testing
