// Captures hand out the frame itself when it is upright, else one reused rotation buffer.
#include "kit/capture.h"
#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/rotate.h"

#include <cstdint>
#include <cstdlib>

namespace brisko {

namespace {

uint8_t* s_rotateBuf = nullptr;
uint64_t s_rotateBufSize = 0;

struct FrameShape {
    int32_t width, height, bytesPerRow;
};

const uint8_t* report(const uint8_t* pixels, FrameShape shape, int32_t* width, int32_t* height,
                      int32_t* bytesPerRow) {
    if (width) *width = shape.width;
    if (height) *height = shape.height;
    if (bytesPerRow) *bytesPerRow = shape.bytesPerRow;
    return pixels;
}

// The rotated copy, or null when no buffer could hold it (the caller then hands out the frame as it is).
const uint8_t* rotatedFrame(const BKScreenshotSurface& frame, int32_t quad, FrameShape* shape) {
    const bool sideways = quad % 2 != 0;
    const int32_t width = sideways ? frame.height : frame.width;
    const int32_t height = sideways ? frame.width : frame.height;
    const uint64_t needed = uint64_t(width) * 4 * uint64_t(height);
    if (!_ensureBufferCapacity(&s_rotateBuf, &s_rotateBufSize, needed)) return nullptr;
    if (!_bkRotateOpaque(frame.base, frame.width, frame.height, frame.bytesPerRow, s_rotateBuf, quad))
        return nullptr;
    *shape = {width, height, width * 4};
    return s_rotateBuf;
}

} // namespace

bool _ensureBufferCapacity(uint8_t** buffer, uint64_t* capacity, uint64_t needed) {
    if (!buffer || !capacity) return false;
    if (*buffer && *capacity >= needed) return true;
    // Beyond what an allocation can be: refuse before asking for it.
    auto* grown =
        needed <= uint64_t(PTRDIFF_MAX) ? static_cast<uint8_t*>(std::malloc(needed ? needed : 1)) : nullptr;
    if (!grown) {
        if (!*buffer) *capacity = 0;
        return false;
    }
    std::free(*buffer);
    *buffer = grown;
    *capacity = needed;
    return true;
}

const uint8_t* BKKit::captureScreenRaw(int32_t* width, int32_t* height, int32_t* bytesPerRow) {
    initialize();
    BKScreenshotSurface* surface = _ensureScreenshotSurface();
    if (!surface || !_bkRenderDisplay(surface)) return nullptr;
    const BKScreenshotSurface& frame = *surface;
    const int32_t quad = _bkFrameRotationQuad();
    FrameShape shape{};
    if (quad != 0) {
        if (const uint8_t* rotated = rotatedFrame(frame, quad, &shape))
            return report(rotated, shape, width, height, bytesPerRow);
    }
    _bkMakeOpaque(frame.base, frame.width, frame.height, frame.bytesPerRow);
    return report(frame.base, {frame.width, frame.height, frame.bytesPerRow}, width, height, bytesPerRow);
}

QImage BKKit::captureScreen() {
    int32_t width = 0, height = 0, bytesPerRow = 0;
    const uint8_t* pixels = captureScreenRaw(&width, &height, &bytesPerRow);
    if (!pixels) return QImage();
    // B,G,R,A bytes are Qt's 32-bit ARGB on a little-endian machine; copied so the image outlives the frame.
    return QImage(pixels, width, height, bytesPerRow, QImage::Format_ARGB32_Premultiplied).copy();
}

} // namespace brisko
