#include "api_protocol.h"

#include <QJsonDocument>

#include <cmath>

Q_LOGGING_CATEGORY(lcScriptApi, "brisko.daemon.api", QtInfoMsg)

namespace brisko::scriptapi {
namespace {

constexpr ArgumentKind kNumber = ArgumentKind::Number;
constexpr ArgumentKind kText = ArgumentKind::Text;

bool isFiniteNumber(const QJsonValue& value) {
    return value.isDouble() && std::isfinite(value.toDouble());
}

} // namespace

const QList<CallSignature>& callSignatures() {
    static const QList<CallSignature> calls{
        {"screenshot", {{"path", kText}}},
        {"color_at", {{"x", kNumber}, {"y", kNumber}}},
        {"tap", {{"x", kNumber}, {"y", kNumber}}},
        {"swipe", {{"x1", kNumber}, {"y1", kNumber}, {"x2", kNumber}, {"y2", kNumber}, {"ms", kNumber}}},
        {"key", {{"name", kText}}},
        {"webview", {{"action", kText}}},
        {"log", {{"text", kText}}},
    };
    return calls;
}

const CallSignature* findCall(const QString& name) {
    for (const CallSignature& call : callSignatures())
        if (name == QLatin1String(call.name)) return &call;
    return nullptr;
}

QJsonObject requestFromWords(const QStringList& words, QString* error) {
    const CallSignature* call = words.isEmpty() ? nullptr : findCall(words.first());
    if (!call) {
        *error = words.isEmpty() ? QStringLiteral("missing call")
                                 : QStringLiteral("unknown call: ") + words.first();
        return {};
    }
    const qsizetype given = words.size() - 1, wanted = call->arguments.size();
    const bool textTail = wanted > 0 && call->arguments.last().kind == kText;
    if (given < wanted || (given > wanted && !textTail)) {
        *error = QStringLiteral("%1 takes %2 argument(s)").arg(words.first()).arg(wanted);
        return {};
    }
    QJsonObject request{{"call", words.first()}};
    for (qsizetype i = 0; i < wanted; ++i) {
        const CallArgument& argument = call->arguments[i];
        if (argument.kind == kText) {
            request.insert(argument.name, words.mid(i + 1).join(u' '));
            break;
        }
        bool ok = false;
        const double number = words[i + 1].toDouble(&ok);
        if (!ok || !std::isfinite(number)) {
            *error = QStringLiteral("%1: not a number: %2").arg(argument.name, words[i + 1]);
            return {};
        }
        request.insert(argument.name, number);
    }
    return request;
}

QString validateRequest(const QJsonObject& request) {
    const CallSignature* call = findCall(request.value("call").toString());
    if (!call) return QStringLiteral("unknown call");
    for (const CallArgument& argument : call->arguments) {
        const QJsonValue value = request.value(argument.name);
        const bool fits = argument.kind == kNumber ? isFiniteNumber(value) : value.isString();
        if (!fits)
            return QStringLiteral("%1 wants %2 as a %3")
                .arg(call->name, argument.name, argument.kind == kNumber ? "number" : "string");
    }
    return {};
}

QJsonObject okReply(const QJsonObject& fields) {
    QJsonObject reply = fields;
    reply.insert("ok", true);
    return reply;
}

QJsonObject errorReply(const QString& error) {
    return {{"ok", false}, {"error", error}};
}

QByteArray encodeLine(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace brisko::scriptapi
