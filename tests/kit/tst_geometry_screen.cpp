#include "kit/BKKit.h"
#include "kit/geometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtTest>

using namespace brisko;

namespace {
std::atomic<int> s_overlayUpdates{0};
void countOverlayUpdate() {
    s_overlayUpdates.fetch_add(1);
}
} // namespace

class GeometryScreenTest : public QObject {
    Q_OBJECT
  private slots:
    void readsThePrimaryScreen() {
        QScreen* screen = QGuiApplication::primaryScreen();
        QVERIFY(screen);
        QCOMPARE(screen->devicePixelRatio(), 2.0);
        BKKit::initialize();
        const QSize points = screen->size();
        QCOMPARE(s_screenPointSize, QSizeF(std::min(points.width(), points.height()),
                                           std::max(points.width(), points.height())));
        QCOMPARE(s_screenScale, 2.0);
        const QSizeF pixels = s_captureNativeSize;
        QCOMPARE(pixels.width() * pixels.height(), 4.0 * points.width() * points.height());
        QCOMPARE(s_captureBaseLandscape, pixels.width() > pixels.height());
    }

    // The screen reports through its signal; each change reaches the overlay once, on the main thread.
    void orientationChangesReachTheQuadAndTheOverlay() {
        QScreen* screen = QGuiApplication::primaryScreen();
        BKKit::initialize();
        s_fbUpdateRotation.store(countOverlayUpdate);
        const int32_t before = _currentLogicalRotationQuad();
        const Qt::ScreenOrientation turned =
            before == _quadForScreenOrientation(Qt::PortraitOrientation, Qt::LandscapeOrientation, false)
                ? Qt::InvertedPortraitOrientation
                : Qt::PortraitOrientation;
        emit screen->orientationChanged(turned);
        const int32_t after = _currentLogicalRotationQuad();
        QVERIFY(after != before);
        QCOMPARE(s_rotationQuad.load(), after);
        emit screen->orientationChanged(turned);
        QCOMPARE(s_overlayUpdates.load(), 0); // queued, not called from the signal
        QTRY_COMPARE(s_overlayUpdates.load(), 1);
        QTest::qWait(20);
        QCOMPARE(s_overlayUpdates.load(), 1);
        s_fbUpdateRotation.store(nullptr);
    }
};

QTEST_MAIN(GeometryScreenTest)
#include "tst_geometry_screen.moc"
