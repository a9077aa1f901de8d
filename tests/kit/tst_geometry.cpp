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
    // Runs first: without a GUI application or a display there is no screen, so touches must be refused.
    void degenerateSizesAreRefusedWithZeros() {
        qunsetenv("DISPLAY");
        BKKit::initialize();
        QCOMPARE(s_screenPointSize, QSizeF(0, 0));
        for (const QSizeF& size : {QSizeF(0, 0), QSizeF(0, kH), QSizeF(kW, 0), QSizeF(-kW, kH)}) {
            if (size != QSizeF(0, 0)) _bkSetScreenForTesting(size, 2, 1);
            double nx = 5, ny = 5;
            QVERIFY(!_logicalToPhysNorm(&nx, &ny, 10, 20));
            QCOMPARE(QPointF(nx, ny), QPointF(0, 0));
        }
    }

    void mappingBothWays() {
        struct Row {
            int quad;
            QPointF logical, normalised;
        };
        const Row rows[] = {
            {0, {kW, kH}, {1, 1}},
            {0, {97.5, 211}, {0.25, 0.25}},
            {1, {0, 0}, {0, 1}},
            {1, {211, 97.5}, {0.25, 0.75}},
            {2, {0, 0}, {1, 1}},
            {2, {97.5, 211}, {0.75, 0.75}},
            {3, {0, 0}, {1, 0}},
            {3, {211, 97.5}, {0.75, 0.25}},
            {7, {97.5, 211}, {0.25, 0.25}},
        };
        for (const Row& row : rows) {
            _bkSetScreenForTesting(QSizeF(kW, kH), 2, row.quad);
            double nx = -1, ny = -1, x = -1, y = -1;
            QVERIFY(_logicalToPhysNorm(&nx, &ny, row.logical.x(), row.logical.y()));
            _physNormToLogical(&x, &y, row.normalised.x(), row.normalised.y());
            QCOMPARE(QPointF(nx, ny), row.normalised);
            QCOMPARE(QPointF(x, y), row.logical);
        }
    }

    void orientationsToQuads() {
        const std::pair<int64_t, int> interface[] = {{0, 0}, {1, 0}, {2, 2},  {3, 3},
                                                     {4, 1}, {5, 0}, {-4, 0}, {int64_t(1) << 34 | 4, 0}};
        for (auto [orientation, quad] : interface)
            QCOMPARE(_rotationForOrientation(orientation), quad);

        // Qt's orientation against its reference; X11 calls any unrotated output landscape.
        struct Row {
            Qt::ScreenOrientation current, reference;
            bool unrotatedLandscape;
            int quad;
        };
        const Row qt[] = {
            {Qt::LandscapeOrientation, Qt::PortraitOrientation, false, 3},
            {Qt::LandscapeOrientation, Qt::LandscapeOrientation, false, 0}, // portrait panel at rest
            {Qt::PortraitOrientation, Qt::LandscapeOrientation, false, 1},
            {Qt::LandscapeOrientation, Qt::LandscapeOrientation, true, 3}, // monitor at rest
        };
        for (const Row& row : qt)
            QCOMPARE(_quadForScreenOrientation(row.current, row.reference, row.unrotatedLandscape), row.quad);
    }

    void sizesFromWhatTheScreenReports() {
        struct Row {
            BKScreenMetrics screen;
            QString model;
            QSizeF points, capture;
            bool landscape;
        };
        const Row rows[] = {
            {{{1170, 2532}, 3, {390, 844}, 3}, "x86_64", {390, 844}, {1170, 2532}, false},
            {{{1668, 2388}, 2, {834, 1194}, 2}, "iPad8,1", {834, 1194}, {2388, 1668}, true}, // turned
            {{{1668, 2388}, 2, {834, 1194}, 2}, "iPad8,10", {834, 1194}, {1668, 2388}, false},
            {{{1920, 1080}, 1, {1920, 1080}, 1}, "x86_64", {1080, 1920}, {1920, 1080}, true},
            {{{1000, 2000}, 0, {300, 600}, 2}, "", {300, 600}, {600, 1200}, false}, // no native scale
            {{{-10, 20}, 1, {0, 0}, 1}, "", {0, 0}, {0, 0}, false},
        };
        for (const Row& row : rows) {
            const BKScreenGeometry g = _screenGeometryFor(&row.screen, row.model);
            QVERIFY2(g.pointSize == row.points && g.captureNativeSize == row.capture &&
                         g.captureBaseLandscape == row.landscape && g.scale == row.screen.scale,
                     qPrintable(QString("row %1").arg(&row - rows)));
        }
        QCOMPARE(_screenGeometryFor(nullptr, QString()).captureNativeSize, QSizeF(0, 0));
    }
};

QTEST_GUILESS_MAIN(GeometryTest)
#include "tst_geometry.moc"
