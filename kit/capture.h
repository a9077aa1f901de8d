#pragma once
// Screen capture internals: the display connection, the shared-memory frame and the
// rotation buffer. Not reentrant: one capture at a time.

#include <cstdint>

class QScreen;

namespace brisko {

// Opens the kit's own display connection when the display has MIT-SHM; capture stays
// unavailable otherwise. Run once, from start-up.
void _bkCaptureInitialize(const QScreen* screen);

// The X root window's size in pixels at scale 1, for a process without a Qt screen (the
// daemon); empty metrics when no display can be opened.
struct BKScreenMetrics;
BKScreenMetrics _bkMetricsForX11Root();

// The frame the display delivers: s_captureNativeSize pixels (as much of it as lies on the
// screen) of B,G,R,X in one shared segment.
struct BKScreenshotSurface {
    uint8_t* base;
    int32_t width, height, bytesPerRow;
};

// Creates the segment on first use (retried after a failure); null without a display.
BKScreenshotSurface* _ensureScreenshotSurface();
// Fills the surface with the current screen; false when the display refused.
bool _bkRenderDisplay(BKScreenshotSurface* surface);

// Grows *buffer to at least needed bytes, never shrinking it; keeps the old block on failure.
bool _ensureBufferCapacity(uint8_t** buffer, uint64_t* capacity, uint64_t needed);

} // namespace brisko
