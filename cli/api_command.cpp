#include "api_command.h"

#include <cstdio>

namespace brisko::cli {

// The seam for the script API client: replace this body with `return runScriptApiCommand(args);`
// (daemon/script_api/api_client.h) and link script_api_client.
int runApiCommand(const QStringList& args) {
    Q_UNUSED(args);
    std::fputs("brisko-cli: this build has no script API client\n", stderr);
    return 69; // EX_UNAVAILABLE
}

} // namespace brisko::cli
