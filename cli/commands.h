#pragma once
// The subcommands that talk to a device's debug link; each returns the process exit code.

#include "cli/link_client.h"

#include <QStringList>

namespace brisko::cli {

int pushProject(LinkClient& client, const QString& folder);
int sendCommand(LinkClient& client, const QString& command); // run, stop, pause, resume
int printLog(LinkClient& client, bool follow);
int saveScreenshot(LinkClient& client, const QString& file);
int printInfo(LinkClient& client);

} // namespace brisko::cli
