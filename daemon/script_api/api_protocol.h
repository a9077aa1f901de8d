#pragma once
// The script API's wire format, shared by the daemon's server and the shell client: one JSON
// object per line each way. A request names its call in "call" and its arguments by name
// ({"call":"tap","x":100,"y":200}); a reply is {"ok":true,…} or {"ok":false,"error":"…"}.

#include <QJsonObject>
#include <QLoggingCategory>
#include <QStringList>

Q_DECLARE_LOGGING_CATEGORY(lcScriptApi)

namespace brisko::scriptapi {

inline constexpr char kSocketVariable[] = "BRISKO_API";
// Long enough for any log line a script means to write; a line past it ends the connection.
inline constexpr qsizetype kMaxLineBytes = 64 * 1024;

enum class ArgumentKind { Number, Text };

struct CallArgument {
    const char* name;
    ArgumentKind kind;
};

struct CallSignature {
    const char* name;
    QList<CallArgument> arguments;
};

// Every call the server answers, with its arguments in command-line order.
const QList<CallSignature>& callSignatures();
const CallSignature* findCall(const QString& name);

// `tap 100 200` → {"call":"tap","x":100,"y":200}; a text argument takes the rest of the words.
QJsonObject requestFromWords(const QStringList& words, QString* error);

// The request's arguments checked against its call's signature: empty when it is well formed.
QString validateRequest(const QJsonObject& request);

QJsonObject okReply(const QJsonObject& fields = {});
QJsonObject errorReply(const QString& error);
// Compact JSON and a newline.
QByteArray encodeLine(const QJsonObject& object);

} // namespace brisko::scriptapi
