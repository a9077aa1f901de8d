#pragma once
// Launch: the window, the root screen, asset deployment and the start of the daemon.

#include "app/status/locations.h"
#include "platform/ui/NavigationController.h"

#include <QString>
#include <QStringList>

namespace brisko {

// The root navigation controller: the top screen decides the status bar's look.
class BKNavController : public ui::NavigationController {
    Q_OBJECT
  public:
    using ui::NavigationController::NavigationController;
    ui::ViewController* childViewControllerForStatusBarStyle() const override { return topViewController(); }
};

BKNavController* BKCreateRootViewController();
void BKStartBriskoServices();
// The launch at login (--background): no window; the daemon starts with --autorun only when the
// boot_autostart marker exists. Returns once the request has left; the process then ends.
void BKRunBackgroundLaunch();

// A launch by the boot autostart entry (started with --background) counts as a background launch.
bool BKApplicationIsInBackground();
void BKSetApplicationInBackground(bool background);

// Starts the daemon as the superuser; tests replace it to observe the decision.
using BKDaemonSpawner = int (*)(const QString& path, const QStringList& arguments);
void BKSetDaemonSpawnerForTesting(BKDaemonSpawner spawner); // null restores the real one

} // namespace brisko
