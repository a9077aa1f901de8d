#include "app_delegate.h"

#include "app/launch/launch.h"

namespace brisko {

bool AppDelegate::didFinishLaunching(bool startServices) {
    m_window = std::make_unique<ui::Window>();
    m_window->setRootViewController(BKCreateRootViewController());
    m_window->makeKeyAndVisible();
    if (startServices) BKStartBriskoServices();
    return true;
}

} // namespace brisko
