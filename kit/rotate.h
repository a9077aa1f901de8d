#pragma once
// Quarter turns of 32-bit B,G,R,X frames that also make every pixel opaque, since the
// display server leaves the fourth byte at 0 and callers expect B,G,R,A.

#include <cstdint>

namespace brisko {

// Turns src by quad quarter turns clockwise (1, 2 or 3) into dst, packed at its own
// width × 4 bytes a row; dst is height × width for odd quads. False for arguments
// that describe no frame, with dst untouched.
bool _bkRotateOpaque(const uint8_t* src, int32_t width, int32_t height, int32_t srcStride, uint8_t* dst,
                     int32_t quad);

// The quarter turns of the leading rows × columns (multiples of 8) of a frame with AVX2
// tiles; false when the processor lacks AVX2 or s_rotateWithAvx2 is off (tests turn it off
// to reach the SSE2 tiles).
extern bool s_rotateWithAvx2;
bool _bkRotateQuarterAvx2(const uint8_t* src, int32_t width, int32_t height, int32_t srcStride, uint32_t* dst,
                          bool clockwise, int32_t rows, int32_t columns);

// Sets the fourth byte of every pixel to 0xFF in place.
void _bkMakeOpaque(uint8_t* pixels, int32_t width, int32_t height, int32_t stride);

} // namespace brisko
