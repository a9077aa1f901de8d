// The application as it was before the web panel, for the start-up comparison: no web engine is
// linked, set up or shown.

#include "app/web/web_engine_setup.h"
#include "app/web/web_panel.h"
#include "app/web/web_scenes.h"

namespace brisko {

void BKInitializeWebEngine(int, char**) {}
void SetWebViewURL(const char*) {}
void CloseWebView() {}
BKWebPanelController* BKCurrentWebView() {
    return nullptr;
}
void registerWebPanelScenes() {}

} // namespace brisko
