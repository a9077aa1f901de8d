#pragma once
// The full-screen web panel the daemon can raise over the application.

namespace brisko {

class BKWebPanelController;

// Shows the panel with url, a UTF-8 string (creating the panel on first use, loading again
// after). Null, malformed text or no root navigation controller: nothing happens. Any thread.
void SetWebViewURL(const char* url);
// Stops and removes the panel; the next show starts from a fresh one. Any thread.
void CloseWebView();

// The panel on screen, or null.
BKWebPanelController* BKCurrentWebView();

} // namespace brisko
