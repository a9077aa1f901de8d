#pragma once
// The kit's one touch receiver and the monitor that feeds it from the machine's touchscreens.
// Injected touches reach the same receiver. Main thread only.

#include "kit/BKKit.h"
#include "kit/touch_decoder.h"

#include <optional>

namespace brisko {

// Set by startTouchMonitorWithCallback, cleared by stopTouchMonitor.
extern BKTouchCallback s_touchCallback;

// Hands one touch (normalised panel coordinates) to the current callback, if there is one.
void _deliverTouch(int phase, double nx, double ny);

struct TouchDeviceInfo {
    TouchAxis x;
    TouchAxis y;
    TouchSnapshot state;
};

// What makes fd a touchscreen we can follow: direct input, multi-touch slots with positions.
std::optional<TouchDeviceInfo> _probeTouchscreen(int fd);

} // namespace brisko
