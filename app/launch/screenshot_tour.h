#pragma once
// `brisko --screenshot DIR`: renders every registered scene into DIR/<name>.png, then quits.

#include <QString>

namespace brisko {

namespace ui {
class Window;
}

// Registers the scenes of every screen; called once before the tour.
void registerAllScenes();
void runScreenshotTour(ui::Window* window, const QString& folder);

} // namespace brisko
