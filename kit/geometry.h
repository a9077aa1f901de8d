#pragma once
// The kit's one description of the screen, shared by capture, overlay and touch services.
// Written once at initialisation (sizes) or whole as atomics (rotation), read from any thread.

#include <QSizeF>
#include <QString>

#include <atomic>
#include <cstdint>

namespace brisko {

extern std::atomic<bool> s_initialized;
extern QSizeF s_screenPointSize;    // portrait: width is the shorter side
extern QSizeF s_captureNativeSize;  // pixel size of a frame as the display delivers it
extern bool s_captureBaseLandscape;
extern double s_screenScale;
extern std::atomic<int32_t> s_rotationQuad; // 0 portrait, 1 landscape-left, 2 upside-down, 3 landscape-right

int32_t _rotationForOrientation(int64_t orientation);
int32_t _currentLogicalRotationQuad();
int32_t _currentCaptureRotationQuad();
QString _bkCurrentDeviceModel();

// Logical points of the current orientation <-> 0..1 of the native portrait panel.
bool _logicalToPhysNorm(double* nx, double* ny, double x, double y);
void _physNormToLogical(double* x, double* y, double nx, double ny);

} // namespace brisko
