#pragma once
// Keeps the application alive and the machine awake while the daemon's debug service is on:
// a silent WAV loops at volume 0 through the default audio output (where one exists), and a
// logind "sleep:idle" inhibitor lock is held on the system bus (where logind runs).
// Everything here runs on the main thread; calls from elsewhere move themselves there.

#include <QByteArray>

#include <functional>

namespace brisko {

namespace audio {
class LoopingPlayer;
}

// Tells the keep-alive whether the debug service is on (the runtime status' _debugServiceEnabled).
// Until one is set, the debug service counts as off and starts do nothing.
void BKSetDebugServiceEnabledProvider(std::function<bool()> debugServiceEnabled);

// Installs, once per process, the observers that restart playback after leaving or returning
// to the foreground, after an audio interruption ends and after the audio outputs change; then
// starts playback if the debug service is on.
void BKInstallDebugAudioKeepAlive();
void BKStartDebugAudioKeepAlive();
// Stops playback, drops the player and its data and releases the inhibitor lock.
void BKStopDebugAudioKeepAlive();

// Current state, for diagnostics and tests.
const audio::LoopingPlayer* BKDebugKeepAlivePlayer();
QByteArray BKDebugKeepAliveAudioData(); // null while idle
bool BKDebugKeepAliveHoldsSleepLock();  // held, or asked for and not yet answered

} // namespace brisko
