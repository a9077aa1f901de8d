#pragma once
// Shared pieces of the capture benchmark.

#include <QString>

#include <functional>

namespace brisko::bench {

// Milliseconds per call over the given number of runs, after a few unmeasured ones. The best
// run shows the cost itself; the median also carries what other processes took from us.
struct Timing {
    double median = 0, best = 0;
};
Timing timeCalls(int runs, const std::function<void()>& call);

// Frames per second of capture at the display in DISPLAY, ours against a plain X11 client.
int measureFrames(int runs);
// Rotation of a frame of the given size against memcpy of the same bytes.
void measureRotation(int width, int height, int runs);

// Starts Xvfb at WxH with MIT-SHM; returns its display name, or empty on failure.
QString startXvfb(int width, int height);
void stopXvfb();

} // namespace brisko::bench
