#pragma once
// How a swipe is cut into moves, whichever way the input reaches the screen.

#include <algorithm>

namespace brisko::scriptapi {

inline constexpr int kSwipeStepMs = 16; // about one frame
inline constexpr int kMaxSwipeMs = 10'000;

struct SwipePlan {
    int steps;
    int stepMs;
};

inline SwipePlan planSwipe(int milliseconds) {
    const int duration = std::clamp(milliseconds, 0, kMaxSwipeMs);
    const int steps = std::max(1, duration / kSwipeStepMs);
    return {steps, duration / steps};
}

} // namespace brisko::scriptapi
