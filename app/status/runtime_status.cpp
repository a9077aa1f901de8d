#include "runtime_status.h"

namespace brisko {

bool _runtimeStatusLoaded = false;
int64_t _runtimeStatusRetryCount = 0;
bool _debugServiceEnabled = false;
bool _debugClientConnected = false;
QString _debugStatus;
bool _debugToggleBusy = false;

void resetRuntimeStatusForTesting() {
    _runtimeStatusLoaded = false;
    _runtimeStatusRetryCount = 0;
    _debugServiceEnabled = false;
    _debugClientConnected = false;
    _debugStatus = QString();
    _debugToggleBusy = false;
}

} // namespace brisko
