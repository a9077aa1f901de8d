#pragma once
// Drives the ball as the touch monitor and the tick timer would, in logical points.

#include "kit/ball/ball_state.h"
#include "kit/geometry.h"

#include <QPointF>

namespace brisko::testing {

inline void touch(int phase, QPointF at) {
    double nx = 0, ny = 0;
    if (_logicalToPhysNorm(&nx, &ny, at.x(), at.y())) _fbHandleTouch(phase, nx, ny);
}

inline void ticks(int n) {
    for (int i = 0; i < n; ++i)
        _fbTick();
}

inline QPointF ball() {
    return QPointF(_fb.x, _fb.y);
}

inline void tap() {
    const QPointF at = ball();
    touch(0, at);
    touch(2, at);
}

inline void openFan() {
    tap();
    ticks(13);
}

} // namespace brisko::testing
