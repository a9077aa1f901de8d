// The screen as Qt sees it: start-up of the shared geometry and the orientation observer.
#include "kit/BKKit.h"
#include "kit/capture.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"
#include "platform/dispatch/dispatch.h"

#include <QGuiApplication>
#include <QScreen>

#include <bit>
#include <cmath>
#include <mutex>

namespace brisko {

namespace {

std::once_flag s_initOnce;
// The observer's latest quad; polled by capture callers on their own threads.
std::atomic<bool> s_hasOrientationObserver{false};
std::atomic<int32_t> s_observedQuad{0};

// Portrait 0, landscape 1, inverted portrait 2, inverted landscape 3: Qt's rotation order.
int orientationIndex(int orientation) {
    switch (orientation) {
    case Qt::PortraitOrientation:
    case Qt::LandscapeOrientation:
    case Qt::InvertedPortraitOrientation:
    case Qt::InvertedLandscapeOrientation:
        return std::countr_zero(unsigned(orientation));
    default:
        return -1;
    }
}

void queueOverlayRotationUpdate() {
    dispatchMainAsync([] {
        if (auto update = s_fbUpdateRotation.load()) update();
    });
}

void storeQuad(int32_t quad) {
    if (s_rotationQuad.exchange(quad) != quad) queueOverlayRotationUpdate();
}

QScreen* primaryScreen() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) ? QGuiApplication::primaryScreen()
                                                                        : nullptr;
}

void observeOrientation(QScreen* screen) {
    if (!screen) return;
    const int reference = screen->nativeOrientation() == Qt::PrimaryOrientation ? Qt::LandscapeOrientation
                                                                                : screen->nativeOrientation();
    const int current = screen->orientation();
    const bool landscapeNow = screen->size().width() > screen->size().height();
    const int index = orientationIndex(current), referenceIndex = orientationIndex(reference);
    const bool turnedSideways = index >= 0 && referenceIndex >= 0 && (index - referenceIndex) % 2 != 0;
    const bool unrotatedLandscape = landscapeNow != turnedSideways;

    auto handler = [reference, unrotatedLandscape](Qt::ScreenOrientation orientation) {
        const int32_t quad = _quadForScreenOrientation(orientation, reference, unrotatedLandscape);
        s_observedQuad.store(quad);
        storeQuad(quad);
    };
    QObject::connect(screen, &QScreen::orientationChanged, screen, handler);
    s_observedQuad.store(_quadForScreenOrientation(current, reference, unrotatedLandscape));
    s_hasOrientationObserver.store(true);
    s_rotationQuad.store(s_observedQuad.load());
}

void initializeOnce() {
    s_initialized.store(true);
    QScreen* screen = primaryScreen();
    const BKScreenMetrics metrics = screen ? _metricsForScreen(screen) : _bkMetricsForX11Root();
    const BKScreenGeometry geometry = _screenGeometryFor(&metrics, _bkCurrentDeviceModel());
    s_screenPointSize = geometry.pointSize;
    s_captureBaseLandscape = geometry.captureBaseLandscape;
    s_captureNativeSize = geometry.captureNativeSize;
    s_screenScale = geometry.scale;
    _bkCaptureInitialize(screen);
    observeOrientation(screen);
}

} // namespace

void BKKit::initialize() {
    std::call_once(s_initOnce, initializeOnce);
}

BKScreenMetrics _metricsForScreen(const QScreen* screen) {
    BKScreenMetrics metrics;
    if (!screen) return metrics;
    const double ratio = screen->devicePixelRatio();
    metrics.bounds = screen->size();
    metrics.nativeBounds =
        QSizeF(std::round(metrics.bounds.width() * ratio), std::round(metrics.bounds.height() * ratio));
    metrics.nativeScale = ratio;
    metrics.scale = ratio;
    return metrics;
}

int32_t _quadForScreenOrientation(int orientation, int reference, bool unrotatedLandscape) {
    const int index = orientationIndex(orientation), referenceIndex = orientationIndex(reference);
    const int turns = index >= 0 && referenceIndex >= 0 ? (index - referenceIndex + 4) % 4 : 0;
    // Counted from portrait: a landscape panel at rest is already one turn along.
    const int portraitFormIndex = (turns + (unrotatedLandscape ? 1 : 0)) % 4;
    static constexpr int64_t interfaceOrientation[] = {1, 3, 2, 4};
    return _rotationForOrientation(interfaceOrientation[portraitFormIndex]);
}

int32_t _currentLogicalRotationQuad() {
    if (!s_hasOrientationObserver.load()) return s_rotationQuad.load();
    const int32_t quad = s_observedQuad.load();
    storeQuad(quad);
    return quad;
}

int32_t _bkFrameRotationQuad() {
    const int32_t quad = _currentCaptureRotationQuad();
    return s_hasOrientationObserver.load() ? 0 : quad;
}

void _bkSetScreenForTesting(QSizeF pointSize, double scale, int32_t quad) {
    BKKit::initialize();
    s_hasOrientationObserver.store(false);
    s_screenPointSize = pointSize;
    s_screenScale = scale;
    s_rotationQuad.store(quad);
}

void _bkSetCaptureBaseForTesting(QSizeF nativeSize, bool landscape) {
    BKKit::initialize();
    s_captureNativeSize = nativeSize;
    s_captureBaseLandscape = landscape;
}

} // namespace brisko
