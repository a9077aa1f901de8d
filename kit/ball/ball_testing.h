#pragma once
// Seams for tests and benchmarks: they step the tick themselves and look at the window.

class QWindow;

namespace brisko {

// Set before a show: no timer is started, so only the caller's _fbTick calls move the ball.
void _fbUseManualTickForTesting(bool manual);
QWindow* _fbWindowForTesting();

} // namespace brisko
