#include "script_control.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QNetworkAccessManager>

namespace brisko {
namespace {

inline const QString kDaemonEndpoint = QStringLiteral("http://127.0.0.1:8989");
QString s_endpoint = kDaemonEndpoint;

bool stringReadsTrue(const QString& text) {
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) ++i;
    while (i < text.size() && text[i] == u'0')
        ++i;
    if (i == text.size()) return false;
    const QChar c = text[i];
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

// A JSON object whose "ok" reads false fails; anything else that came with status 200 is sent.
bool replyFailed(const QByteArray& body, QJsonObject* object) {
    if (body.isEmpty()) return false;
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject()) return false;
    *object = document.object();
    return !BKJSONBoolValue(object->value(QStringLiteral("ok")));
}

} // namespace

QUrl BKScriptControlURL(const QString& cmd) {
    return QUrl(s_endpoint + QStringLiteral("/task?cmd=") + cmd);
}

void BKSetScriptControlEndpointForTesting(const QString& endpoint) {
    s_endpoint = endpoint.isEmpty() ? kDaemonEndpoint : endpoint;
}

QNetworkAccessManager* BKSharedURLSession() {
    static auto* session = new QNetworkAccessManager; // lives as long as the process
    return session;
}

bool BKJSONBoolValue(const QJsonValue& value) {
    if (value.isBool()) return value.toBool();
    if (value.isDouble()) return value.toDouble() != 0.0;
    if (value.isString()) return stringReadsTrue(value.toString());
    return false;
}

BKScriptControlOutcome BKScriptControlOutcomeFor(const QString& actionName, const QString& transportError,
                                                 int statusCode, const QByteArray& body) {
    BKScriptControlOutcome outcome;
    outcome.alertTitle = actionName + QStringLiteral("失败");
    if (!transportError.isNull()) {
        outcome.alertMessage = transportError;
        return outcome;
    }
    if (statusCode != 200) {
        outcome.alertMessage = QStringLiteral("接口返回状态码 %1").arg(statusCode);
        return outcome;
    }
    QJsonObject object;
    if (replyFailed(body, &object)) {
        const QJsonValue error = object.value(QStringLiteral("error"));
        if (error.isString()) outcome.alertMessage = error.toString();
        return outcome;
    }
    outcome.sent = true;
    outcome.alertTitle.clear();
    outcome.toast = QStringLiteral("已发送%1指令").arg(actionName);
    return outcome;
}

} // namespace brisko
