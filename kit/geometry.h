#pragma once
// The kit's one description of the screen, shared by capture, overlay and touch services.
// Written once at initialisation (sizes) or whole as atomics (rotation), read from any thread.

#include <QSizeF>
#include <QString>

#include <atomic>
#include <cstdint>

class QScreen;

namespace brisko {

extern std::atomic<bool> s_initialized;
extern QSizeF s_screenPointSize;   // portrait: width is the shorter side
extern QSizeF s_captureNativeSize; // pixel size of a frame as the display delivers it
extern bool s_captureBaseLandscape;
extern double s_screenScale;
extern std::atomic<int32_t> s_rotationQuad; // 0 portrait, 1 landscape-left, 2 upside-down, 3 landscape-right

// Set by the floating ball overlay; queued on the main thread after each rotation change.
extern std::atomic<void (*)()> s_fbUpdateRotation;

// Interface orientation values: 1 portrait, 2 upside-down, 3 landscape-right, 4 landscape-left.
int32_t _rotationForOrientation(int64_t orientation);
int32_t _currentLogicalRotationQuad();
int32_t _currentCaptureRotationQuad();
// The turn a captured frame still needs. A display that reports its own rotation has already
// turned the frame it hands out, so only a rotation set from elsewhere is applied here.
int32_t _bkFrameRotationQuad();
QString _bkCurrentDeviceModel();

// Logical points of the current orientation <-> 0..1 of the native portrait panel.
bool _logicalToPhysNorm(double* nx, double* ny, double x, double y);
void _physNormToLogical(double* x, double* y, double nx, double ny);

// What a screen reports, reduced to plain numbers so the size rules work without a display.
struct BKScreenMetrics {
    QSizeF nativeBounds{0, 0}; // pixels of the whole frame the display server delivers
    double nativeScale = 0;
    QSizeF bounds{0, 0}; // points
    double scale = 0;
};

// The sizes derived once at start-up.
struct BKScreenGeometry {
    QSizeF pointSize{0, 0};
    QSizeF captureNativeSize{0, 0};
    bool captureBaseLandscape = false;
    double scale = 0;
};

BKScreenMetrics _metricsForScreen(const QScreen* screen);
// Qt reports orientations against a reference (the native one, or landscape for an unrotated
// X11 output); the quad is counted from the portrait form of the unrotated panel.
int32_t _quadForScreenOrientation(int orientation, int reference, bool unrotatedLandscape);
QSizeF _displayPointSizeForScreen(const BKScreenMetrics* screen);
QSizeF _renderPixelSizeForScreen(const BKScreenMetrics* screen);
BKScreenGeometry _screenGeometryFor(const BKScreenMetrics* screen, const QString& deviceModel);

} // namespace brisko
