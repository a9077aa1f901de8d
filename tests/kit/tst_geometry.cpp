#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"

#include <QtTest>

using namespace brisko;

namespace {
constexpr double kW = 390, kH = 844;
}

class GeometryTest : public QObject {
    Q_OBJECT
  private slots:
    // Runs first: no GUI application, so no screen; a touch must then be refused.
    void withoutAScreenTouchesAreRefused() {
        BKKit::initialize();
        QCOMPARE(s_screenPointSize, QSizeF(0, 0));
        double nx = 7, ny = 7;
        QVERIFY(!_logicalToPhysNorm(&nx, &ny, 10, 10));
        QCOMPARE(QPointF(nx, ny), QPointF(0, 0));
    }

    void mappingBothWays() {
        struct Row {
            int quad;
            QPointF logical, normalised;
        };
        const Row rows[] = {
            {0, {0, 0}, {0, 0}},
            {0, {kW, kH}, {1, 1}},
            {0, {97.5, 211}, {0.25, 0.25}},
            {1, {0, 0}, {0, 1}},
            {1, {kH, kW}, {1, 0}},
            {1, {211, 97.5}, {0.25, 0.75}},
            {2, {0, 0}, {1, 1}},
            {2, {97.5, 211}, {0.75, 0.75}},
            {3, {0, 0}, {1, 0}},
            {3, {211, 97.5}, {0.75, 0.25}},
            {7, {97.5, 211}, {0.25, 0.25}},
            {-1, {kW, 0}, {1, 0}}, // unknown quads are portrait
        };
        for (const Row& row : rows) {
            _bkSetScreenForTesting(QSizeF(kW, kH), 2, row.quad);
            double nx = -1, ny = -1, x = -1, y = -1;
            QVERIFY(_logicalToPhysNorm(&nx, &ny, row.logical.x(), row.logical.y()));
            _physNormToLogical(&x, &y, row.normalised.x(), row.normalised.y());
            QVERIFY2(QPointF(nx, ny) == row.normalised && QPointF(x, y) == row.logical,
                     qPrintable(QStringLiteral("quad %1, logical %2,%3")
                                    .arg(row.quad)
                                    .arg(row.logical.x())
                                    .arg(row.logical.y())));
        }
    }

    void degenerateSizesAreRefusedWithZeros() {
        for (const QSizeF& size : {QSizeF(0, 0), QSizeF(0, kH), QSizeF(kW, 0), QSizeF(-kW, kH)}) {
            _bkSetScreenForTesting(size, 2, 1);
            double nx = 5, ny = 5;
            QVERIFY(!_logicalToPhysNorm(&nx, &ny, 10, 20));
            QCOMPARE(QPointF(nx, ny), QPointF(0, 0));
        }
        _bkSetScreenForTesting(QSizeF(kW, kH), 2, 0);
        double out = 5;
        QVERIFY(!_logicalToPhysNorm(&out, nullptr, 10, 20));
        QVERIFY(!_logicalToPhysNorm(nullptr, &out, 10, 20));
        QCOMPARE(out, 5.0);
    }

    void orientationsToQuads() {
        const std::pair<int64_t, int> interface[] = {
            {0, 0}, {1, 0}, {2, 2}, {3, 3}, {4, 1}, {5, 0}, {6, 0}, {-4, 0}, {int64_t(1) << 34 | 4, 0}};
        for (auto [orientation, quad] : interface)
            QCOMPARE(_rotationForOrientation(orientation), quad);

        // Qt's orientation against its reference; X11 calls any unrotated output landscape.
        struct Row {
            Qt::ScreenOrientation current, reference;
            bool unrotatedLandscape;
            int quad;
        };
        const Row qt[] = {
            {Qt::PortraitOrientation, Qt::PortraitOrientation, false, 0},
            {Qt::LandscapeOrientation, Qt::PortraitOrientation, false, 3},
            {Qt::InvertedPortraitOrientation, Qt::PortraitOrientation, false, 2},
            {Qt::InvertedLandscapeOrientation, Qt::PortraitOrientation, false, 1},
            {Qt::LandscapeOrientation, Qt::LandscapeOrientation, false, 0}, // portrait panel at rest
            {Qt::PortraitOrientation, Qt::LandscapeOrientation, false, 1},
            {Qt::LandscapeOrientation, Qt::LandscapeOrientation, true, 3}, // monitor at rest
            {Qt::PrimaryOrientation, Qt::LandscapeOrientation, false, 0},
        };
        for (const Row& row : qt)
            QCOMPARE(_quadForScreenOrientation(row.current, row.reference, row.unrotatedLandscape), row.quad);
    }

    void captureQuadTurnsOnceMoreForLandscapeFrames() {
        for (int quad = 0; quad < 4; ++quad) {
            _bkSetScreenForTesting(QSizeF(kW, kH), 2, quad);
            _bkSetCaptureBaseForTesting(QSizeF(kW, kH), false);
            QCOMPARE(_currentCaptureRotationQuad(), quad);
            _bkSetCaptureBaseForTesting(QSizeF(kH, kW), true);
            QCOMPARE(_currentCaptureRotationQuad(), (quad + 1) % 4);
        }
    }

    void sizesFromWhatTheScreenReports() {
        struct Row {
            const char* name;
            BKScreenMetrics screen;
            QString model;
            QSizeF points, capture;
            bool landscape;
        };
        const Row rows[] = {
            {"phone", {{1170, 2532}, 3, {390, 844}, 3}, "x86_64", {390, 844}, {1170, 2532}, false},
            {"iPad8,1 turns portrait frames",
             {{1668, 2388}, 2, {834, 1194}, 2},
             "iPad8,1",
             {834, 1194},
             {2388, 1668},
             true},
            {"other iPads do not",
             {{1668, 2388}, 2, {834, 1194}, 2},
             "iPad8,10",
             {834, 1194},
             {1668, 2388},
             false},
            {"landscape monitor",
             {{1920, 1080}, 1, {1920, 1080}, 1},
             "x86_64",
             {1080, 1920},
             {1920, 1080},
             true},
            {"pixels are points × scale",
             {{1080, 1920}, 2.608, {414, 736}, 3},
             "",
             {414, 736},
             {1242, 2208},
             false},
            {"halves round away from zero",
             {{1001, 2001}, 2, {0, 0}, 2},
             "",
             {501, 1001},
             {1002, 2002},
             false},
            {"no native scale: bounds", {{1000, 2000}, 0, {300, 600}, 2}, "", {300, 600}, {600, 1200}, false},
            {"no bounds: native / scale", {{1000, 2000}, 0, {0, 0}, 4}, "", {250, 500}, {1000, 2000}, false},
            {"no scale: native pixels", {{2000, 1000}, 0, {0, 0}, 0}, "", {1000, 2000}, {2000, 1000}, true},
            {"negative native", {{-10, 20}, 1, {0, 0}, 1}, "", {0, 0}, {0, 0}, false},
        };
        for (const Row& row : rows) {
            const BKScreenGeometry g = _screenGeometryFor(&row.screen, row.model);
            QVERIFY2(g.pointSize == row.points && g.captureNativeSize == row.capture &&
                         g.captureBaseLandscape == row.landscape && g.scale == row.screen.scale,
                     row.name);
        }
        QCOMPARE(_screenGeometryFor(nullptr, QString()).captureNativeSize, QSizeF(0, 0));
    }
};

QTEST_GUILESS_MAIN(GeometryTest)
#include "tst_geometry.moc"
