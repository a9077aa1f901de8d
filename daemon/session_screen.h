#pragma once
// The screen of a user's session, seen from the daemon, which starts without a display of its own.

#include "daemon/session_display.h"

#include <QImage>

namespace brisko::daemon {

// Through the kit, one capture at a time whoever asks (the debug link, each run's script API);
// null when the session has no display. The first display found is the one the kit keeps.
QImage captureSessionScreen(const SessionDisplay& session);

} // namespace brisko::daemon
