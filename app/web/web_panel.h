#pragma once
// The full-screen web panel the daemon can raise over the application.

#include <QString>

namespace brisko {

// Shows the panel with url (creating it on first use); safe to call from any thread.
void SetWebViewURL(const QString& url);
// Removes the panel; safe to call from any thread.
void CloseWebView();

} // namespace brisko
