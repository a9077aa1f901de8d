#include "app_references.h"

#include "platform/ui/NavigationController.h"

namespace brisko {

QPointer<ui::ViewController> _mainVC;
QPointer<ui::NavigationController> _rootNav;
QFont _logFont;
QString _logFilePath;

} // namespace brisko
