#include "link_client.h"

#include "cli/http_connection.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace brisko::cli {
namespace {

QString serverError(const QByteArray& body) {
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QString error = object.value("error").toString();
    return error.isEmpty() ? QString::fromUtf8(body.left(200)).trimmed() : error;
}

} // namespace

LinkClient::LinkClient(const QString& device, QByteArray token)
    : base_(QUrl(QStringLiteral("http://") + device)), token_(std::move(token)) {
    if (base_.port() < 0) base_.setPort(kDefaultLinkPort);
    if (!base_.path().isEmpty() || base_.hasQuery()) base_ = QUrl();
}

LinkReply LinkClient::exchange(const QByteArray& verb, const QString& path, qint64 length,
                               const BodyWriter& writer, const BodySink& sink) const {
    LinkReply reply;
    HttpConnection connection;
    reply.transportError = connection.open(base_.host().toUtf8(), quint16(base_.port()));
    if (!reply.transportError.isEmpty()) return reply;
    QByteArray head = verb + ' ' + path.toUtf8() + " HTTP/1.1\r\nHost: " + base_.authority().toUtf8() +
                      "\r\nAuthorization: Bearer " + token_ + "\r\nConnection: close\r\n";
    if (length > 0 || verb == "PUT")
        head += "Content-Type: application/octet-stream\r\nContent-Length: " + QByteArray::number(length) +
                "\r\n";
    head += "\r\n";
    if (connection.write(head.constData(), size_t(head.size())) && writer)
        reply.bodyError = writer([&](const char* data, size_t size) { return connection.write(data, size); });
    if (reply.bodyError == kSinkStopped) reply.bodyError.clear(); // the device answered early: read why
    if (!reply.bodyError.isEmpty()) return reply;
    // Read even when the body did not go through: a refusal comes before the body is taken.
    reply.status = connection.readReply(
        [&](int status, const QByteArray& bytes) {
            if (sink && status == 200)
                sink(bytes);
            else
                reply.body += bytes;
        },
        &reply.transportError);
    if (reply.status != 0) reply.transportError.clear();
    return reply;
}

LinkReply LinkClient::send(const QByteArray& verb, const QString& path, const QByteArray& body) {
    const BodyWriter writer = [&body](const ByteSink& sink) {
        return sink(body.constData(), size_t(body.size())) ? QString() : kSinkStopped;
    };
    return exchange(verb, path, body.size(), body.isEmpty() ? BodyWriter() : writer, {});
}

LinkReply LinkClient::upload(const QString& path, qint64 length, const BodyWriter& writer) {
    return exchange("PUT", path, length, writer, {});
}

LinkReply LinkClient::stream(const QString& path, const BodySink& sink) {
    return exchange("GET", path, 0, {}, sink);
}

int LinkClient::explain(const LinkReply& reply) const {
    if (reply.status >= 200 && reply.status < 300) return kOk;
    const QByteArray device = deviceName().toLocal8Bit();
    if (reply.status == 0) {
        std::fprintf(stderr, "brisko-cli: cannot reach %s: %s\n", device.constData(),
                     qPrintable(reply.transportError));
        return kUnreachable;
    }
    const QByteArray error = serverError(reply.body).toUtf8();
    if (reply.status == 401) {
        std::fprintf(stderr, "brisko-cli: %s refused the token (%s); read it again on the device\n",
                     device.constData(), error.constData());
        return kBadToken;
    }
    std::fprintf(stderr, "brisko-cli: %s refused (%d): %s\n", device.constData(), reply.status,
                 error.constData());
    return kRefused;
}

} // namespace brisko::cli
