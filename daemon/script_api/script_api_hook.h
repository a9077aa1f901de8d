#pragma once
// The supervisor's one way in: a server for the run it is about to launch.

#include "daemon/script_api/script_api_server.h"
#include "daemon/script_process.h"

namespace brisko::scriptapi {

// A server for a run of plan that logs to logPath; null (and the run goes on without the API)
// when the socket cannot be made.
std::unique_ptr<ScriptApiServer> startScriptApi(const daemon::LaunchPlan& plan, const QString& logPath);

} // namespace brisko::scriptapi
