#include "kit/BKKit.h"
#include "kit/geometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtTest>

using namespace brisko;

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
};

QTEST_MAIN(GeometryScreenTest)
#include "tst_geometry_screen.moc"
