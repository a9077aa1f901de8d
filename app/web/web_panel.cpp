#include "web_panel.h"

namespace brisko {

// The panel itself arrives with the web view; until then the daemon's requests change nothing.
void SetWebViewURL(const QString& url) {
    Q_UNUSED(url);
}

void CloseWebView() {}

} // namespace brisko
