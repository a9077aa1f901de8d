// Showing and hiding the ball: the overlay window, the 30-per-second tick and the touch sources.
#include "kit/BKKit.h"
#include "kit/ball/FbOverlayWindow.h"
#include "kit/ball/ball_log.h"
#include "kit/ball/ball_state.h"
#include "kit/ball/ball_testing.h"
#include "kit/geometry.h"
#include "kit/touch_socket.h"
#include "platform/dispatch/dispatch.h"

#include <QGuiApplication>
#include <QPointer>
#include <QTimer>

namespace brisko {

namespace {

QPointer<FbOverlayWindow> s_fbWindow;
QPointer<QTimer> s_fbTimer;
bool s_fbManualTick = false;

// Runs fn on the main thread: now when already there, else queued and, when asked, waited for.
void onMainThread(const std::function<void()>& fn, bool wait) {
    if (isMainThread() || !QCoreApplication::instance()) {
        fn();
    } else if (wait) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), fn, Qt::BlockingQueuedConnection);
    } else {
        dispatchMainAsync(fn);
    }
}

void tickOnce() {
    _fbTick();
    if (s_fbWindow) s_fbWindow->raiseIfCovered();
}

void startTimer() {
    if (s_fbManualTick) return;
    auto* timer = new QTimer;
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, tickOnce);
    timer->start(33);
    s_fbTimer = timer;
    QTimer::singleShot(0, timer, tickOnce); // the first tick comes at once
}

// A process without a GUI application (or display) keeps the ball's state and touches, unseen.
void createWindow() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        qCDebug(lcBall) << "no GUI application: the ball is not drawn";
        return;
    }
    auto* window = new FbOverlayWindow(QGuiApplication::primaryScreen());
    s_fbWindow = window;
    _fbView = window;
}

void show(std::function<void(const QString&)> callback) {
    if (_fbActive) return;
    _fbCb = std::move(callback);
    double width = 0, height = 0;
    _applyOverlayRotation(&width, &height);
    _fbResetFor(width, height);
    createWindow();
    _fbSyncColors();
    _fbLayout();
    if (s_fbWindow) s_fbWindow->show();
    _fbActive = true;
    s_fbUpdateRotation.store(_fbUpdateRotation);
    startTimer();
    if (_fbRemoteTouchEnabled.load()) _startTouchSocket();
    BKKit::startTouchMonitorWithCallback(
        [](int phase, double nx, double ny) { _fbHandleTouch(phase, nx, ny); });
}

void hide() {
    if (!_fbActive) return;
    delete s_fbTimer.data();
    _stopTouchSocket();
    BKKit::stopTouchMonitor();
    _fbView = nullptr;
    // Hide may come from inside the window's own mouse handler.
    if (s_fbWindow) {
        s_fbWindow->hide();
        s_fbWindow->deleteLater();
    }
    _fbCb = nullptr;
    _fbActive = false;
}

} // namespace

void BKKit::showFloatingBallWithCallback(std::function<void(const QString&)> callback) {
    initialize();
    onMainThread([&callback] { show(std::move(callback)); }, true);
}

void BKKit::hideFloatingBall() {
    initialize();
    onMainThread(hide, false);
}

void BKKit::setFloatingBallPosition(int32_t side, double y) {
    initialize();
    dispatchMainAsync([side, y] {
        if (!_fbActive) return;
        _fbDock(side != 0);
        _fb.y = y;
        _fbLayout();
    });
}

void BKKit::setFloatingBallRunning(bool running) {
    _fb.running = running;
    if (!running) _fb.paused = false;
    dispatchMainAsync(_fbSyncColors);
}

void BKKit::setFloatingBallPaused(bool paused) {
    _fb.paused = paused;
    dispatchMainAsync(_fbSyncColors);
}

bool BKKit::isFloatingBallShown() {
    return _fbActive;
}

void _fbUseManualTickForTesting(bool manual) {
    s_fbManualTick = manual;
}

QWindow* _fbWindowForTesting() {
    return s_fbWindow.data();
}

} // namespace brisko
