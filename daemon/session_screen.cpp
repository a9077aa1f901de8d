#include "session_screen.h"

#include "daemon/logging.h"
#include "kit/BKKit.h"

#include <mutex>

namespace brisko::daemon {

QImage captureSessionScreen(const SessionDisplay& session) {
    static std::mutex captureLock; // the kit's capture is not reentrant
    std::lock_guard lock(captureLock);
    // The kit reads the display from the environment when it first starts.
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        if (session.display.isEmpty()) {
            qCDebug(lcDaemon, "no session display to capture");
            return {};
        }
        qputenv("DISPLAY", session.display);
        if (!session.xauthority.isEmpty()) qputenv("XAUTHORITY", session.xauthority);
    }
    return BKKit::captureScreen();
}

} // namespace brisko::daemon
