#include "app/feedback/feedback_scenes.h"
#include "app/launch/screenshot_tour.h"
#include "platform/ui/scenes.h"

namespace brisko {

void registerAllScenes() {
    ui::registerScene(QStringLiteral("launch"), [](QQuickItem*) { return std::function<void()>(); });
    registerFeedbackScenes();
}

} // namespace brisko
