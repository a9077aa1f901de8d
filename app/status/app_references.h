#pragma once
// Application-wide references written once during launch.

#include <QFont>
#include <QPointer>
#include <QString>

namespace brisko {

namespace ui {
class NavigationController;
class ViewController;
} // namespace ui

// The main screen; it refreshes itself on RuntimeStatusNotifier::changed.
extern QPointer<ui::ViewController> _mainVC;
extern QPointer<ui::NavigationController> _rootNav;
extern QFont _logFont;
extern QString _logFilePath;

} // namespace brisko
