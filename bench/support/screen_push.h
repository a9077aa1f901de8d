#pragma once
// Timing a screen from its construction to the first frame that shows what it should, in the
// application's own window and navigation stack.

#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"

#include <QList>

#include <functional>

namespace brisko::bench {

double median(QList<double> values);

class ScreenPush {
  public:
    ScreenPush();

    // Milliseconds from calling make to the end of the first frame after which shown holds;
    // the screen stays pushed. Aborts the benchmark when it never shows.
    template <typename Screen>
    double time(const std::function<Screen*()>& make, const std::function<bool(Screen*)>& shown) {
        Screen* screen = nullptr;
        return timeScreen([&] { return screen = make(); }, [&] { return shown(screen); });
    }
    void pop();

  private:
    double timeScreen(const std::function<ui::ViewController*()>& make, const std::function<bool()>& shown);

    ui::Window m_window;
    ui::NavigationController* m_nav;
};

} // namespace brisko::bench
