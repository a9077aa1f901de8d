#pragma once
// The file locations the application shares with the daemon.

#include <QString>

namespace brisko {

// Documents folder of the user, computed on every call; null when it cannot be determined.
QString BKDocumentsDirectory();
QString BKDaemonExecutablePath();
// Only the marker's existence counts: start the daemon with "--autorun" at boot.
QString BKBootAutostartMarkerPath();
QString BKScriptLogPath();

} // namespace brisko
