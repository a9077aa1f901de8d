#pragma once

#include "platform/ui/window.h"

#include <memory>

namespace brisko {

class AppDelegate {
  public:
    // Builds the window and the root screen, then starts the services. Always true.
    bool didFinishLaunching(bool startServices = true);
    ui::Window* window() const { return m_window.get(); }

  private:
    std::unique_ptr<ui::Window> m_window;
};

} // namespace brisko
