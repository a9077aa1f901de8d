#pragma once
// The notification channel with the daemon: posting, the ping/alive handshake and the
// observers that keep the runtime status.

#include <QString>

namespace brisko {

void BKPostDarwinNotification(const QString& name);
void BKRequestFloatballState();
// Pings and waits up to timeout seconds for "alive"; true when it arrived in time.
bool BKWaitForFloatballAlive(double timeout);

void BKOnWebViewShow();
void BKOnWebViewClose();
void BKOnDebugConnected();
void BKOnDebugDisconnected();
void BKOnFloatballAlive();
void BKOnFloatballScriptRunning();
void BKOnFloatballScriptStopped();
void BKOnFloatballDebugEnabled();
void BKOnFloatballDebugDisabled();

// Adds the nine observers above, in launch order. They are never removed.
void BKAddDaemonObservers();

} // namespace brisko
