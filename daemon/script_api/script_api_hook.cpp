#include "script_api_hook.h"

#include "api_protocol.h"

#include <QFile>

namespace brisko::scriptapi {
namespace {

QByteArray environmentValue(const QList<QByteArray>& environment, const QByteArray& name) {
    for (const QByteArray& entry : environment)
        if (entry.startsWith(name + '=')) return entry.mid(name.size() + 1);
    return {};
}

} // namespace

std::unique_ptr<ScriptApiServer> startScriptApi(const daemon::LaunchPlan& plan, const QString& logPath) {
    ScriptApiSettings settings;
    settings.identity = {plan.changeIdentity, plan.uid, plan.gid, plan.groups};
    settings.workingDirectory = QFile::decodeName(plan.workingDirectory);
    // The script's own display, as the supervisor found it for the session.
    settings.display = environmentValue(plan.environment, "DISPLAY");
    settings.xauthority = environmentValue(plan.environment, "XAUTHORITY");
    settings.logPath = logPath;
    QString error;
    auto server = ScriptApiServer::start(std::move(settings), &error);
    if (!server) qCDebug(lcScriptApi, "no script API for this run: %s", qPrintable(error));
    return server;
}

} // namespace brisko::scriptapi
