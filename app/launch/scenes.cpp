#include "platform/ui/scenes.h"
#include "app/feedback/feedback_scenes.h"
#include "app/launch/screenshot_tour.h"
#include "app/web/web_scenes.h"
#include "file_manager/editor/editor_scenes.h"
#include "file_manager/file_manager_scenes.h"
#include "log_viewer/log_viewer_scenes.h"
#include "main_screen/main_screen_scenes.h"

namespace brisko {

void registerAllScenes() {
    ui::registerScene(QStringLiteral("launch"), [](QQuickItem*) { return std::function<void()>(); });
    registerMainScreenScenes();
    registerFeedbackScenes();
    registerLogViewerScenes();
    registerTextEditorScenes();
    registerWebPanelScenes();
    registerFileManagerScenes();
}

} // namespace brisko
