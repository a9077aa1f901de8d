#include "channel.h"

#include "app/keepalive/keepalive.h"
#include "app/status/RuntimeStatusNotifier.h"
#include "app/status/notification_names.h"
#include "app/status/runtime_status.h"
#include "app/web/web_panel.h"
#include "platform/dispatch/dispatch.h"
#include "platform/notify/notify.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <semaphore>

namespace brisko {
namespace {

constexpr const char* kWebPanelURL = "http://localhost:65005/index.html";

// Every status notification marks the status loaded, applies its own change, then refreshes.
void applyStatusOnMain(std::function<void()> update) {
    dispatchMainAsync([update = std::move(update)] {
        _runtimeStatusLoaded = true;
        _runtimeStatusRetryCount = 0;
        if (update) update();
        RuntimeStatusNotifier::instance()->announceChange();
    });
}

struct AliveWait {
    std::binary_semaphore signal{0};
    std::atomic<bool> alive{false};
};

} // namespace

void BKPostDarwinNotification(const QString& name) {
    if (name.isEmpty()) return;
    notify::post(name);
}

void BKRequestFloatballState() {
    BKPostDarwinNotification(QString::fromLatin1(names::kPing));
}

bool BKWaitForFloatballAlive(double timeout) {
    auto wait = std::make_shared<AliveWait>();
    notify::Token token = 0;
    const int status = notify::registerDispatch(
        QString::fromLatin1(names::kAlive),
        [wait](notify::Token own) {
            wait->alive = true;
            wait->signal.release();
            notify::cancel(own);
        },
        &token);
    BKRequestFloatballState();
    if (status != 0) return false;
    const auto limit = std::chrono::nanoseconds(static_cast<int64_t>(timeout * 1e9));
    if (!wait->signal.try_acquire_for(limit)) notify::cancel(token);
    return wait->alive;
}

void BKOnWebViewShow() {
    SetWebViewURL(kWebPanelURL);
}

void BKOnWebViewClose() {
    CloseWebView();
}

void BKOnDebugConnected() {
    applyStatusOnMain([] {
        _debugClientConnected = true;
        _debugStatus = kDebugStatusConnected;
    });
}

void BKOnDebugDisconnected() {
    applyStatusOnMain([] {
        _debugClientConnected = false;
        _debugStatus = _debugServiceEnabled ? kDebugStatusWaiting : kDebugStatusOff;
    });
}

void BKOnFloatballAlive() {
    applyStatusOnMain({});
}
void BKOnFloatballScriptRunning() {
    applyStatusOnMain({});
}
void BKOnFloatballScriptStopped() {
    applyStatusOnMain({});
}

void BKOnFloatballDebugEnabled() {
    applyStatusOnMain([] {
        _debugServiceEnabled = true;
        _debugStatus = _debugClientConnected ? kDebugStatusConnected : kDebugStatusWaiting;
        BKInstallDebugAudioKeepAlive();
    });
}

void BKOnFloatballDebugDisabled() {
    applyStatusOnMain([] {
        _debugServiceEnabled = false;
        _debugClientConnected = false;
        _debugStatus = kDebugStatusOff;
        BKStopDebugAudioKeepAlive();
    });
}

void BKAddDaemonObservers() {
    const std::pair<const char*, void (*)()> observers[] = {
        {names::kWebViewShow, BKOnWebViewShow},
        {names::kWebViewClose, BKOnWebViewClose},
        {names::kDebugConnected, BKOnDebugConnected},
        {names::kDebugDisconnected, BKOnDebugDisconnected},
        {names::kAlive, BKOnFloatballAlive},
        {names::kScriptRunning, BKOnFloatballScriptRunning},
        {names::kScriptStopped, BKOnFloatballScriptStopped},
        {names::kDebugEnabled, BKOnFloatballDebugEnabled},
        {names::kDebugDisabled, BKOnFloatballDebugDisabled},
    };
    for (const auto& [name, callback] : observers)
        notify::addObserver(QString::fromLatin1(name), callback);
}

} // namespace brisko
