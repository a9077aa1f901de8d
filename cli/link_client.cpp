#include "link_client.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <cstdio>

namespace brisko::cli {
namespace {

QNetworkAccessManager& network() {
    static QNetworkAccessManager manager;
    return manager;
}

void waitFor(QNetworkReply* reply) {
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished()) loop.exec();
}

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

QNetworkReply* LinkClient::start(const QByteArray& verb, const QString& path, const QByteArray& body) {
    QUrl url = base_;
    url.setPath(path.section('?', 0, 0));
    if (path.contains('?')) url.setQuery(path.section('?', 1));
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Bearer " + token_);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!body.isEmpty() || verb == "PUT")
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/octet-stream"));
    return network().sendCustomRequest(request, verb, body);
}

LinkReply LinkClient::finish(QNetworkReply* reply) {
    LinkReply result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.body += reply->readAll();
    if (result.status == 0) result.transportError = reply->errorString();
    reply->deleteLater();
    return result;
}

LinkReply LinkClient::send(const QByteArray& verb, const QString& path, const QByteArray& body,
                           const Progress& progress) {
    QNetworkReply* reply = start(verb, path, body);
    if (progress) QObject::connect(reply, &QNetworkReply::uploadProgress, reply, progress);
    waitFor(reply);
    return finish(reply);
}

LinkReply LinkClient::stream(const QString& path, const std::function<void(const QByteArray&)>& sink) {
    QNetworkReply* reply = start("GET", path, {});
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply, sink] {
        if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200) sink(reply->readAll());
    });
    waitFor(reply);
    return finish(reply);
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
