#pragma once
// What the application knows of the daemon. Main thread only; never persisted.

#include <QString>

#include <cstdint>

namespace brisko {

extern bool _runtimeStatusLoaded;
extern int64_t _runtimeStatusRetryCount;
extern bool _debugServiceEnabled;
extern bool _debugClientConnected;
extern QString _debugStatus; // "已连接", "等待连接...", "已关闭", or null
extern bool _debugToggleBusy;

inline const QString kDebugStatusConnected = QStringLiteral("已连接");
inline const QString kDebugStatusWaiting = QStringLiteral("等待连接...");
inline const QString kDebugStatusOff = QStringLiteral("已关闭");

// Back to the launch state, for tests.
void resetRuntimeStatusForTesting();

} // namespace brisko
