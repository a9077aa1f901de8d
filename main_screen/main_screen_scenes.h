#pragma once
// Screenshot scenes of the main screen.

namespace brisko {

// "main-waiting", "main-debug-on", "main-debug-off": the status set as the daemon's answers would.
void registerMainScreenScenes();

} // namespace brisko
