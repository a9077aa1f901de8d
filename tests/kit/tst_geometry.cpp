#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"

#include <QtTest>

#include <limits>

using namespace brisko;

namespace {
constexpr double kW = 390, kH = 844;

BKScreenMetrics metrics(QSizeF native, double nativeScale, QSizeF bounds, double scale) {
    BKScreenMetrics m;
    m.nativeBounds = native;
    m.nativeScale = nativeScale;
    m.bounds = bounds;
    m.scale = scale;
    return m;
}
} // namespace

class GeometryTest : public QObject {
    Q_OBJECT
private slots:
    // Must run first: nothing has set the screen yet and there is no GUI application.
    void withoutAScreenEverythingIsZeroAndTouchesAreRefused() {
        BKKit::initialize();
        QVERIFY(s_initialized.load());
        QCOMPARE(s_screenPointSize, QSizeF(0, 0));
        QCOMPARE(s_captureNativeSize, QSizeF(0, 0));
        QCOMPARE(s_rotationQuad.load(), 0);
        double nx = 7, ny = 7;
        QVERIFY(!_logicalToPhysNorm(&nx, &ny, 10, 10));
        QCOMPARE(nx, 0.0);
        QCOMPARE(ny, 0.0);
    }

    void initializeRunsOnce() {
        _bkSetScreenForTesting(QSizeF(kW, kH), 3, 2);
        BKKit::initialize();
        QCOMPARE(s_screenPointSize, QSizeF(kW, kH));
        QCOMPARE(s_screenScale, 3.0);
        QCOMPARE(s_rotationQuad.load(), 2);
    }

    void mapping_data() {
        QTest::addColumn<int>("quad");
        QTest::addColumn<QPointF>("logical");
        QTest::addColumn<QPointF>("normalised");
        QTest::newRow("0 origin") << 0 << QPointF(0, 0) << QPointF(0, 0);
        QTest::newRow("0 far corner") << 0 << QPointF(kW, kH) << QPointF(1, 1);
        QTest::newRow("0 inside") << 0 << QPointF(97.5, 211) << QPointF(0.25, 0.25);
        QTest::newRow("1 origin") << 1 << QPointF(0, 0) << QPointF(0, 1);
        QTest::newRow("1 far corner") << 1 << QPointF(kH, kW) << QPointF(1, 0);
        QTest::newRow("1 inside") << 1 << QPointF(211, 97.5) << QPointF(0.25, 0.75);
        QTest::newRow("2 origin") << 2 << QPointF(0, 0) << QPointF(1, 1);
        QTest::newRow("2 inside") << 2 << QPointF(97.5, 211) << QPointF(0.75, 0.75);
        QTest::newRow("3 origin") << 3 << QPointF(0, 0) << QPointF(1, 0);
        QTest::newRow("3 inside") << 3 << QPointF(211, 97.5) << QPointF(0.75, 0.25);
        QTest::newRow("unknown quad is portrait") << 7 << QPointF(97.5, 211) << QPointF(0.25, 0.25);
        QTest::newRow("negative quad is portrait") << -1 << QPointF(kW, 0) << QPointF(1, 0);
    }

    void mapping() {
        QFETCH(int, quad);
        QFETCH(QPointF, logical);
        QFETCH(QPointF, normalised);
        _bkSetScreenForTesting(QSizeF(kW, kH), 2, quad);
        double nx = -1, ny = -1;
        QVERIFY(_logicalToPhysNorm(&nx, &ny, logical.x(), logical.y()));
        QCOMPARE(QPointF(nx, ny), normalised);
        double x = -1, y = -1;
        _physNormToLogical(&x, &y, normalised.x(), normalised.y());
        QCOMPARE(QPointF(x, y), logical);
    }

    void roundTripsInEveryQuad() {
        for (int quad = 0; quad < 4; ++quad) {
            _bkSetScreenForTesting(QSizeF(kW, kH), 2, quad);
            const QSizeF frame = quad % 2 ? QSizeF(kH, kW) : QSizeF(kW, kH);
            for (double fx : {0.0, 0.13, 0.5, 0.87, 1.0}) {
                for (double fy : {0.0, 0.31, 0.5, 1.0}) {
                    double nx, ny, x, y;
                    QVERIFY(_logicalToPhysNorm(&nx, &ny, fx * frame.width(), fy * frame.height()));
                    QVERIFY(nx >= 0 && nx <= 1 && ny >= 0 && ny <= 1);
                    _physNormToLogical(&x, &y, nx, ny);
                    QVERIFY2(qAbs(x - fx * frame.width()) < 1e-9 && qAbs(y - fy * frame.height()) < 1e-9,
                             qPrintable(QStringLiteral("quad %1 at %2,%3").arg(quad).arg(fx).arg(fy)));
                }
            }
        }
    }

    void refusal_data() {
        QTest::addColumn<QSizeF>("pointSize");
        QTest::newRow("zero") << QSizeF(0, 0);
        QTest::newRow("zero width") << QSizeF(0, kH);
        QTest::newRow("zero height") << QSizeF(kW, 0);
        QTest::newRow("negative") << QSizeF(-kW, kH);
    }

    void refusal() {
        QFETCH(QSizeF, pointSize);
        _bkSetScreenForTesting(pointSize, 2, 1);
        double nx = 5, ny = 5;
        QVERIFY(!_logicalToPhysNorm(&nx, &ny, 10, 20));
        QCOMPARE(nx, 0.0);
        QCOMPARE(ny, 0.0);
    }

    void missingOutputsAreNotWritten() {
        _bkSetScreenForTesting(QSizeF(kW, kH), 2, 0);
        double out = 5;
        QVERIFY(!_logicalToPhysNorm(&out, nullptr, 10, 20));
        QVERIFY(!_logicalToPhysNorm(nullptr, &out, 10, 20));
        QCOMPARE(out, 5.0);
    }

    void rotationForOrientation_data() {
        QTest::addColumn<qint64>("orientation");
        QTest::addColumn<int>("quad");
        QTest::newRow("unknown") << qint64(0) << 0;
        QTest::newRow("portrait") << qint64(1) << 0;
        QTest::newRow("upside-down") << qint64(2) << 2;
        QTest::newRow("landscape-right") << qint64(3) << 3;
        QTest::newRow("landscape-left") << qint64(4) << 1;
        QTest::newRow("face up") << qint64(5) << 0;
        QTest::newRow("face down") << qint64(6) << 0;
        QTest::newRow("negative") << qint64(-4) << 0;
        QTest::newRow("wide") << (qint64(1) << 34 | 4) << 0;
    }

    void rotationForOrientation() {
        QFETCH(qint64, orientation);
        QFETCH(int, quad);
        QCOMPARE(_rotationForOrientation(orientation), quad);
    }

    void screenOrientationQuad_data() {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<int>("reference");
        QTest::addColumn<bool>("unrotatedLandscape");
        QTest::addColumn<int>("quad");
        const int portrait = Qt::PortraitOrientation, landscape = Qt::LandscapeOrientation;
        const int invPortrait = Qt::InvertedPortraitOrientation, invLandscape = Qt::InvertedLandscapeOrientation;
        // A phone that knows it is portrait-native.
        QTest::newRow("phone upright") << portrait << portrait << false << 0;
        QTest::newRow("phone landscape") << landscape << portrait << false << 3;
        QTest::newRow("phone upside-down") << invPortrait << portrait << false << 2;
        QTest::newRow("phone inverted landscape") << invLandscape << portrait << false << 1;
        // X11 reports an unrotated output as landscape whatever its shape.
        QTest::newRow("x11 portrait panel at rest") << landscape << landscape << false << 0;
        QTest::newRow("x11 portrait panel turned") << portrait << landscape << false << 1;
        QTest::newRow("x11 portrait panel inverted") << invLandscape << landscape << false << 2;
        QTest::newRow("x11 monitor at rest") << landscape << landscape << true << 3;
        QTest::newRow("x11 monitor turned") << portrait << landscape << true << 0;
        QTest::newRow("no orientation") << int(Qt::PrimaryOrientation) << landscape << false << 0;
        QTest::newRow("no orientation, monitor") << int(Qt::PrimaryOrientation) << landscape << true << 3;
        QTest::newRow("mixed bits") << (portrait | landscape) << portrait << false << 0;
    }

    void screenOrientationQuad() {
        QFETCH(int, orientation);
        QFETCH(int, reference);
        QFETCH(bool, unrotatedLandscape);
        QFETCH(int, quad);
        QCOMPARE(_quadForScreenOrientation(orientation, reference, unrotatedLandscape), quad);
    }

    void captureQuadTurnsOnceMoreForLandscapeFrames() {
        const QSizeF native = s_captureNativeSize;
        for (int quad = 0; quad < 4; ++quad) {
            _bkSetScreenForTesting(QSizeF(kW, kH), 2, quad);
            _bkSetCaptureBaseForTesting(native, false);
            QCOMPARE(_currentCaptureRotationQuad(), quad);
            _bkSetCaptureBaseForTesting(native, true);
            QCOMPARE(_currentCaptureRotationQuad(), (quad + 1) % 4);
        }
        _bkSetCaptureBaseForTesting(native, false);
    }

    void screenGeometry_data() {
        QTest::addColumn<QSizeF>("native");
        QTest::addColumn<double>("nativeScale");
        QTest::addColumn<QSizeF>("bounds");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QString>("model");
        QTest::addColumn<QSizeF>("points");
        QTest::addColumn<QSizeF>("capture");
        QTest::addColumn<bool>("landscape");
        const QSizeF phone(1170, 2532), phonePoints(390, 844);
        QTest::newRow("phone") << phone << 3.0 << phonePoints << 3.0 << "x86_64" << phonePoints << phone << false;
        QTest::newRow("iPad8,1 turns portrait frames") << QSizeF(1668, 2388) << 2.0 << QSizeF(834, 1194) << 2.0
                                                       << "iPad8,1" << QSizeF(834, 1194) << QSizeF(2388, 1668) << true;
        QTest::newRow("iPad8,10 does not") << QSizeF(1668, 2388) << 2.0 << QSizeF(834, 1194) << 2.0
                                           << "iPad8,10" << QSizeF(834, 1194) << QSizeF(1668, 2388) << false;
        QTest::newRow("landscape monitor") << QSizeF(1920, 1080) << 1.0 << QSizeF(1920, 1080) << 1.0 << "x86_64"
                                           << QSizeF(1080, 1920) << QSizeF(1920, 1080) << true;
        // Pixels are points times scale, not the panel's own count.
        QTest::newRow("native scale differs") << QSizeF(1080, 1920) << 2.608 << QSizeF(414, 736) << 3.0 << "x"
                                              << QSizeF(414, 736) << QSizeF(1242, 2208) << false;
        QTest::newRow("halves round away from zero") << QSizeF(1001, 2001) << 2.0 << QSizeF() << 2.0 << "x"
                                                     << QSizeF(501, 1001) << QSizeF(1002, 2002) << false;
        QTest::newRow("no native scale uses bounds") << QSizeF(1000, 2000) << 0.0 << QSizeF(300, 600) << 2.0 << "x"
                                                     << QSizeF(300, 600) << QSizeF(600, 1200) << false;
        QTest::newRow("only native and scale") << QSizeF(1000, 2000) << 0.0 << QSizeF() << 4.0 << "x"
                                               << QSizeF(250, 500) << QSizeF(1000, 2000) << false;
        QTest::newRow("no scale: pixels are native") << QSizeF(2000, 1000) << 0.0 << QSizeF() << 0.0 << "x"
                                                     << QSizeF(1000, 2000) << QSizeF(2000, 1000) << true;
        QTest::newRow("nothing") << QSizeF() << 0.0 << QSizeF() << 0.0 << "iPad8,1" << QSizeF(0, 0)
                                 << QSizeF(0, 0) << true;
        QTest::newRow("negative native") << QSizeF(-10, 20) << 1.0 << QSizeF() << 1.0 << "x" << QSizeF(0, 0)
                                         << QSizeF(0, 0) << false;
        QTest::newRow("huge scale") << QSizeF(100, 200) << std::numeric_limits<double>::max() << QSizeF() << 1.0
                                    << "x" << QSizeF(100, 200) << QSizeF(100, 200) << false;
    }

    void screenGeometry() {
        QFETCH(QSizeF, native);
        QFETCH(double, nativeScale);
        QFETCH(QSizeF, bounds);
        QFETCH(double, scale);
        QFETCH(QString, model);
        const BKScreenMetrics m = metrics(native, nativeScale, bounds, scale);
        const BKScreenGeometry g = _screenGeometryFor(&m, model);
        QTEST(g.pointSize, "points");
        QTEST(g.captureNativeSize, "capture");
        QTEST(g.captureBaseLandscape, "landscape");
        QCOMPARE(g.scale, scale);
    }

    void nullScreenIsZero() {
        QCOMPARE(_displayPointSizeForScreen(nullptr), QSizeF(0, 0));
        QCOMPARE(_renderPixelSizeForScreen(nullptr), QSizeF(0, 0));
        QCOMPARE(_screenGeometryFor(nullptr, QString()).pointSize, QSizeF(0, 0));
        QCOMPARE(_metricsForScreen(nullptr).scale, 0.0);
    }

    void deviceModelIsTheMachineName() {
        QVERIFY(!_bkCurrentDeviceModel().isEmpty());
    }
};

QTEST_GUILESS_MAIN(GeometryTest)
#include "tst_geometry.moc"
