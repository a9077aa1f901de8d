#pragma once
// BKKit: the device kit of the automation runtime. Class methods only; each lives in the
// kit source file of its service (geometry, capture, touch_monitor, touch_socket, spawn, ball/).

#include <QImage>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>

namespace brisko {

// phase: 0 began, 1 moved, 2 ended; x, y in 0..1 of the panel in its native portrait orientation.
using BKTouchCallback = std::function<void(int phase, double x, double y)>;

class BKKit {
  public:
    BKKit() = delete;

    // One-time set-up of the shared screen description; every class method calls it first.
    static void initialize();

    // Screen capture: upright B,G,R,A pixels valid until the next capture; null when unavailable.
    static const uint8_t* captureScreenRaw(int32_t* width, int32_t* height, int32_t* bytesPerRow);
    static QImage captureScreen();

    // Touch monitoring of the device's touchscreens; the callback runs on the main thread.
    static void startTouchMonitorWithCallback(BKTouchCallback callback);
    static void stopTouchMonitor();
    static void setFloatingBallRemoteTouchEnabled(bool enabled);

    // The floating ball above all windows (kit/ball). Show runs on the main thread and waits for
    // it; a second show keeps the first callback. The callback receives "close", "pause",
    // "resume", "start" or "stop" on the main thread. The setters may be called from any thread.
    static void showFloatingBallWithCallback(std::function<void(const QString&)> callback);
    static void hideFloatingBall();
    static void setFloatingBallPosition(int32_t side, double y); // side 0 left, else right
    static void setFloatingBallRunning(bool running);
    static void setFloatingBallPaused(bool paused);
    static bool isFloatingBallShown();

    // Starts path as the superuser in a new session with an empty environment; child pid or -1.
    static int32_t spawnAsRoot(const QString& path);
    static int32_t spawnAsRoot(const QString& path, const QStringList& arguments);
};

} // namespace brisko
