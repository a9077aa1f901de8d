#include "kit/geometry.h"

#include <sys/utsname.h>

#include <cmath>

namespace brisko {

std::atomic<bool> s_initialized{false};
QSizeF s_screenPointSize{0, 0};
QSizeF s_captureNativeSize{0, 0};
bool s_captureBaseLandscape = false;
double s_screenScale = 0;
std::atomic<int32_t> s_rotationQuad{0};
std::atomic<void (*)()> s_fbUpdateRotation{nullptr};

namespace {

bool hasPositiveSides(const QSizeF& size) {
    return size.width() > 0 && size.height() > 0;
}

QSizeF positiveOrZero(const QSizeF& size) {
    return hasPositiveSides(size) ? size : QSizeF(0, 0);
}

QSizeF roundedSize(double width, double height) {
    return QSizeF(std::round(width), std::round(height));
}

QSizeF portraitForm(const QSizeF& size) {
    return QSizeF(std::min(size.width(), size.height()), std::max(size.width(), size.height()));
}

QSizeF landscapeForm(const QSizeF& size) {
    return portraitForm(size).transposed();
}

} // namespace

int32_t _rotationForOrientation(int64_t orientation) {
    switch (orientation) {
    case 4:
        return 1; // landscape-left
    case 2:
        return 2; // upside-down
    case 3:
        return 3; // landscape-right
    default:
        return 0;
    }
}

int32_t _currentCaptureRotationQuad() {
    const int32_t quad = _currentLogicalRotationQuad();
    return s_captureBaseLandscape ? (quad + 1) % 4 : quad;
}

QString _bkCurrentDeviceModel() {
    struct utsname name {};
    if (uname(&name) != 0) return QString();
    return QString::fromUtf8(name.machine);
}

bool _logicalToPhysNorm(double* nx, double* ny, double x, double y) {
    if (!nx || !ny) return false;
    const double w = s_screenPointSize.width();
    const double h = s_screenPointSize.height();
    if (w <= 0 || h <= 0) {
        *nx = 0;
        *ny = 0;
        return false;
    }
    switch (s_rotationQuad.load()) {
    case 1:
        *nx = y / w;
        *ny = 1 - x / h;
        break;
    case 2:
        *nx = 1 - x / w;
        *ny = 1 - y / h;
        break;
    case 3:
        *nx = 1 - y / w;
        *ny = x / h;
        break;
    default:
        *nx = x / w;
        *ny = y / h;
        break;
    }
    return true;
}

void _physNormToLogical(double* x, double* y, double nx, double ny) {
    const double w = s_screenPointSize.width();
    const double h = s_screenPointSize.height();
    switch (s_rotationQuad.load()) {
    case 1:
        *x = h * (1 - ny);
        *y = nx * w;
        break;
    case 2:
        *x = w * (1 - nx);
        *y = h * (1 - ny);
        break;
    case 3:
        *x = ny * h;
        *y = w * (1 - nx);
        break;
    default:
        *x = nx * w;
        *y = ny * h;
        break;
    }
}

QSizeF _displayPointSizeForScreen(const BKScreenMetrics* screen) {
    if (!screen) return QSizeF(0, 0);
    const QSizeF& native = screen->nativeBounds;
    if (hasPositiveSides(native) && screen->nativeScale > 0)
        return roundedSize(native.width() / screen->nativeScale, native.height() / screen->nativeScale);
    if (hasPositiveSides(screen->bounds)) return screen->bounds;
    if (hasPositiveSides(native) && screen->scale > 0)
        return roundedSize(native.width() / screen->scale, native.height() / screen->scale);
    return QSizeF(0, 0);
}

QSizeF _renderPixelSizeForScreen(const BKScreenMetrics* screen) {
    if (!screen) return QSizeF(0, 0);
    const QSizeF points = _displayPointSizeForScreen(screen);
    if (!hasPositiveSides(points) || screen->scale <= 0) return QSizeF(0, 0);
    return roundedSize(points.width() * screen->scale, points.height() * screen->scale);
}

BKScreenGeometry _screenGeometryFor(const BKScreenMetrics* screen, const QString& deviceModel) {
    const QSizeF native = screen ? positiveOrZero(screen->nativeBounds) : QSizeF(0, 0);
    QSizeF points = _displayPointSizeForScreen(screen);
    QSizeF pixels = _renderPixelSizeForScreen(screen);
    if (!hasPositiveSides(pixels)) pixels = native;
    if (!hasPositiveSides(points)) {
        const double s = std::max(screen ? screen->scale : 0.0, 1.0);
        points = QSizeF(pixels.width() / s, pixels.height() / s);
    }
    BKScreenGeometry geometry;
    geometry.pointSize = portraitForm(points);
    const QSizeF base = hasPositiveSides(native) ? native : pixels;
    geometry.captureBaseLandscape = base.width() > base.height() || deviceModel == QStringLiteral("iPad8,1");
    geometry.captureNativeSize = geometry.captureBaseLandscape ? landscapeForm(pixels) : portraitForm(pixels);
    geometry.scale = screen ? screen->scale : 0;
    return geometry;
}

} // namespace brisko
