#include "launch.h"

#include "app/assets/deploy.h"
#include "app/keepalive/hotspot_helper.h"
#include "app/keepalive/keepalive.h"
#include "app/status/app_references.h"
#include "app/status/channel.h"
#include "app/status/runtime_status.h"
#include "file_manager/zip/log/debug_log.h"
#include "kit/BKKit.h"
#include "main_screen/BKMainViewController.h"
#include "platform/notify/notify.h"

#include <QFileInfo>
#include <QFontDatabase>

namespace brisko {
namespace {

bool s_background = false;
constexpr int kPostFlushMs = 500;

int spawnWithKit(const QString& path, const QStringList& arguments) {
    return BKKit::spawnAsRoot(path, arguments);
}
BKDaemonSpawner s_spawner = spawnWithKit;

// True when the daemon was asked for (started or already there).
bool startDaemonIfNeeded() {
    const QString daemon = BKDaemonExecutablePath();
    if (!QFileInfo(daemon).isFile()) return false;
    const bool background = BKApplicationIsInBackground();
    const bool autostart = QFileInfo::exists(BKBootAutostartMarkerPath());
    if (background && !autostart) return false;
    QStringList arguments{BKDocumentsDirectory()};
    if (background && autostart) arguments << QStringLiteral("--autorun");
    if (!BKWaitForFloatballAlive(0.2)) s_spawner(daemon, arguments);
    BKRequestFloatballState();
    return true;
}

} // namespace

bool BKApplicationIsInBackground() {
    return s_background;
}
void BKSetApplicationInBackground(bool background) {
    s_background = background;
}
void BKSetDaemonSpawnerForTesting(BKDaemonSpawner spawner) {
    s_spawner = spawner ? spawner : spawnWithKit;
}

BKNavController* BKCreateRootViewController() {
    BKPrepareBundledAssetsIfNeeded();
    auto* main = new BKMainViewController;
    _mainVC = main;
    auto* nav = new BKNavController(main);
    _rootNav = nav;
    return nav;
}

void BKStartBriskoServices() {
    _logFont = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    _logFont.setPixelSize(12); // points are device-independent pixels here
    _logFilePath = BKScriptLogPath();
    BKInstallZipDebugLog();
    BKRegisterHotspotHelper();
    BKSetDebugServiceEnabledProvider([] { return _debugServiceEnabled; });
    BKAddDaemonObservers();
    startDaemonIfNeeded();
}

void BKRunBackgroundLaunch() {
    BKSetApplicationInBackground(true);
    // The ping must leave before the process does.
    if (startDaemonIfNeeded()) notify::waitUntilReady(kPostFlushMs);
}

} // namespace brisko
