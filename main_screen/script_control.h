#pragma once
// The daemon's HTTP task endpoint as the start/stop bar uses it, and how its replies read.

#include <QByteArray>
#include <QString>
#include <QUrl>

class QJsonValue;
class QNetworkAccessManager;

namespace brisko {

// "http://127.0.0.1:8989/task?cmd=<cmd>", the word inserted as it is.
QUrl BKScriptControlURL(const QString& cmd);
// Another "scheme://host:port" for the endpoint; empty restores the daemon's.
void BKSetScriptControlEndpointForTesting(const QString& endpoint);

// The one network session of the application.
QNetworkAccessManager* BKSharedURLSession();

struct BKScriptControlOutcome {
    bool sent = false;    // a toast, then a status request
    QString toast;        // "已发送%@指令"
    QString alertTitle;   // "%@失败"
    QString alertMessage; // null: the alert's default message
};

// transportError is null when a reply arrived; statusCode is 0 for a reply that is not HTTP.
BKScriptControlOutcome BKScriptControlOutcomeFor(const QString& actionName, const QString& transportError,
                                                 int statusCode, const QByteArray& body);

// A property-list boolean read of a JSON value: true, non-zero numbers, and strings that start
// (after blanks, a sign and zeros) with Y, y, T, t or 1-9. Anything else, missing included, is false.
bool BKJSONBoolValue(const QJsonValue& value);

} // namespace brisko
