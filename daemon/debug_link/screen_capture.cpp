#include "screen_capture.h"

#include "daemon/debug_link/app_files.h"
#include "daemon/logging.h"
#include "daemon/session_display.h"
#include "kit/BKKit.h"

namespace brisko::daemon {

QImage captureSessionScreen(const QString& documents) {
    // The daemon starts with an empty environment; the kit reads the display from it.
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        const SessionDisplay session = findSessionDisplay(documentsOwner(documents).uid);
        if (session.display.isEmpty()) {
            qCDebug(lcDaemon, "debug link: no session display to capture");
            return {};
        }
        qputenv("DISPLAY", session.display);
        if (!session.xauthority.isEmpty()) qputenv("XAUTHORITY", session.xauthority);
    }
    return BKKit::captureScreen();
}

} // namespace brisko::daemon
