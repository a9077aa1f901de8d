#pragma once

#include <QStringList>

namespace brisko::cli {

// `brisko-cli api ARGS…`: the script API client. The daemon's script API library provides the
// real one; this build answers that it is not part of it.
int runApiCommand(const QStringList& args);

} // namespace brisko::cli
