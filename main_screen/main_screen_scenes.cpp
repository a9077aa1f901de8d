#include "main_screen_scenes.h"

#include "app/status/RuntimeStatusNotifier.h"
#include "app/status/runtime_status.h"
#include "main_screen/address_alert.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/scenes.h"

#include <QPointer>

#include <functional>

namespace brisko {
namespace {

void refreshMainScreen() {
    RuntimeStatusNotifier::instance()->announceChange();
}

// Sets the status, refreshes, and puts the launch state back afterwards.
ui::SceneSetUp withStatus(std::function<void()> setStatus) {
    return [setStatus](QQuickItem*) -> std::function<void()> {
        resetRuntimeStatusForTesting();
        setStatus();
        refreshMainScreen();
        return [] {
            resetRuntimeStatusForTesting();
            refreshMainScreen();
        };
    };
}

void debugOnWaiting() {
    _runtimeStatusLoaded = true;
    _debugServiceEnabled = true;
    _debugStatus = kDebugStatusWaiting;
}

} // namespace

void registerMainScreenScenes() {
    ui::registerScene(QStringLiteral("main-waiting"), withStatus([] {}));
    ui::registerScene(QStringLiteral("main-debug-on"), withStatus(debugOnWaiting));
    ui::registerScene(QStringLiteral("main-address-alert"), [](QQuickItem* host) -> std::function<void()> {
        const std::function<void()> restore = withStatus(debugOnWaiting)(host);
        // A fixed sample, so the picture does not depend on the machine or a running daemon.
        const QString token =
            QStringLiteral("3f9c2a7d5b8e1046c7a2f0d9e4b3816a5c0d7e2f9a4b6c8d1e3f5a7b9c0d2e4f");
        QPointer<ui::AlertController> alert =
            BKMakeServiceAddressAlert(BKServiceAddressAlertContent({"192.168.1.23"}, true, token), host);
        ui::presentAlert(alert);
        return [alert, restore] {
            if (alert) ui::dismissAlert(alert);
            restore();
        };
    });
    ui::registerScene(QStringLiteral("main-debug-off"), withStatus([] {
                          _runtimeStatusLoaded = true;
                          _debugStatus = kDebugStatusOff;
                      }));
}

} // namespace brisko
