#include "main_screen_scenes.h"

#include "app/status/RuntimeStatusNotifier.h"
#include "app/status/runtime_status.h"
#include "platform/ui/scenes.h"

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

} // namespace

void registerMainScreenScenes() {
    ui::registerScene(QStringLiteral("main-waiting"), withStatus([] {}));
    ui::registerScene(QStringLiteral("main-debug-on"), withStatus([] {
                          _runtimeStatusLoaded = true;
                          _debugServiceEnabled = true;
                          _debugStatus = kDebugStatusWaiting;
                      }));
    ui::registerScene(QStringLiteral("main-debug-off"), withStatus([] {
                          _runtimeStatusLoaded = true;
                          _debugStatus = kDebugStatusOff;
                      }));
}

} // namespace brisko
