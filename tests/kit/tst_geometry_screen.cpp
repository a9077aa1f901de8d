#include "kit/BKKit.h"
#include "kit/geometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtTest>

using namespace brisko;

namespace {
std::atomic<int> s_overlayUpdates{0};
}

class GeometryScreenTest : public QObject {
    Q_OBJECT
  private slots:
    // The offscreen screen is scaled by 2, so points and pixels differ.
    void readsThePrimaryScreen() {
        BKKit::initialize();
        const QSize points = QGuiApplication::primaryScreen()->size();
        QCOMPARE(s_screenPointSize, QSizeF(std::min(points.width(), points.height()),
                                           std::max(points.width(), points.height())));
        QCOMPARE(s_screenScale, 2.0);
        const QSizeF pixels = s_captureNativeSize;
        QCOMPARE(pixels.width() * pixels.height(), 4.0 * points.width() * points.height());
        QCOMPARE(s_captureBaseLandscape, pixels.width() > pixels.height());
    }

    // Each change reaches the quad at once and the overlay once, later, on the main thread.
    void orientationChangesReachTheQuadAndTheOverlay() {
        QScreen* screen = QGuiApplication::primaryScreen();
        BKKit::initialize();
        s_fbUpdateRotation.store(+[] { s_overlayUpdates.fetch_add(1); });
        const int32_t before = _currentLogicalRotationQuad();
        const Qt::ScreenOrientation turned =
            before == _quadForScreenOrientation(Qt::PortraitOrientation, Qt::LandscapeOrientation, false)
                ? Qt::InvertedPortraitOrientation
                : Qt::PortraitOrientation;
        emit screen->orientationChanged(turned);
        QVERIFY(_currentLogicalRotationQuad() != before);
        QCOMPARE(s_rotationQuad.load(), _currentLogicalRotationQuad());
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
