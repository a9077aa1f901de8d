#pragma once

namespace brisko {

// The panel over the main screen, the page's dialogs over the panel, a dialog over an alert.
void registerWebPanelScenes();

} // namespace brisko
