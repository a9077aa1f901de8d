#pragma once
// The shell side of the script API: `brisko-cli api tap 100 200` inside a running script.

#include <QStringList>

namespace brisko::scriptapi {

// Exit codes: 0 done, 1 refused by the daemon, 2 bad usage, 3 no daemon to talk to.
enum ApiExit { kApiDone = 0, kApiRefused = 1, kApiUsage = 2, kApiUnreachable = 3 };

// args: the words after `api`. Speaks to the socket named by BRISKO_API; prints what the call
// returns (color_at: "#RRGGBB") on stdout and any error on stderr.
int runScriptApiCommand(const QStringList& args);

} // namespace brisko::scriptapi
