#pragma once
// Test seam: replaces the screen description that start-up derived from the display, and stops
// following the display's orientation so the given quad stays until the next call.

#include <QSizeF>

#include <cstdint>

namespace brisko {

void _bkSetScreenForTesting(QSizeF pointSize, double scale, int32_t quad);
void _bkSetCaptureBaseForTesting(QSizeF nativeSize, bool landscape);

} // namespace brisko
