// Captures of a private display, drawn on by a plain X11 client of the test.
#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"

#include <QPainter>
#include <QtTest>

#include <X11/Xlib.h>

#include "capture_xvfb.h"

using namespace brisko;

namespace {

struct Patch {
    QRect rect;
    QRgb colour;
};

// Background first; asymmetric, so every quarter turn and mirror of the scene looks different.
const Patch kScene[] = {
    {QRect(0, 0, 4096, 4096), 0x203040}, {QRect(10, 20, 100, 50), 0xFF0000},
    {QRect(700, 5, 50, 31), 0x00FF00},   {QRect(33, 2000, 80, 41), 0x0000FF},
    {QRect(500, 1200, 7, 9), 0xFFFFFF},
};

struct Frame {
    const uint8_t* pixels = nullptr;
    int32_t width = 0, height = 0, stride = 0;
    QImage image() const { return QImage(pixels, width, height, stride, QImage::Format_ARGB32).copy(); }
};

Frame capture(int quad, bool landscapeBased = false) {
    _bkSetScreenForTesting(s_screenPointSize, s_screenScale, quad);
    _bkSetCaptureBaseForTesting(s_captureNativeSize, landscapeBased);
    Frame f;
    f.pixels = BKKit::captureScreenRaw(&f.width, &f.height, &f.stride);
    return f;
}

} // namespace

class CaptureTest : public QObject {
    Q_OBJECT

    Display* m_display = nullptr;
    QImage m_scene;                    // what an upright capture must show
    const uint8_t* m_turned = nullptr; // turned frames of one size share the rotation buffer

    void drawScene() {
        QPainter painter(&m_scene);
        for (const Patch& patch : kScene) {
            fillRoot(m_display, patch.rect, patch.colour);
            painter.fillRect(patch.rect, QColor::fromRgb(0xFF000000u | patch.colour));
        }
    }

  private slots:
    void initTestCase() {
        m_display = XOpenDisplay(nullptr);
        QVERIFY2(m_display, "the private display is gone");
        m_scene = QImage(DisplayWidth(m_display, DefaultScreen(m_display)),
                         DisplayHeight(m_display, DefaultScreen(m_display)), QImage::Format_ARGB32);
        BKKit::initialize();
        QCOMPARE(s_captureNativeSize, QSizeF(m_scene.size()));
        QCOMPARE(s_rotationQuad.load(), 0); // an unrotated output is upright whatever its shape
        drawScene();
    }

    void cleanupTestCase() {
        if (m_display) XCloseDisplay(m_display);
    }

    void everyQuadIsTheSceneTurned_data() {
        QTest::addColumn<int>("quad");
        QTest::addColumn<bool>("landscapeBased");
        QTest::addColumn<int>("turns");
        for (int quad = 0; quad < 4; ++quad)
            QTest::addRow("quad %d", quad) << quad << false << quad;
        QTest::newRow("landscape frame, quad 0") << 0 << true << 1;
        QTest::newRow("landscape frame, quad 3") << 3 << true << 0;
    }
    void everyQuadIsTheSceneTurned() {
        QFETCH(int, quad);
        QFETCH(bool, landscapeBased);
        QFETCH(int, turns);
        const QImage expected = m_scene.transformed(QTransform().rotate(90 * turns));
        const Frame f = capture(quad, landscapeBased);
        QVERIFY(f.pixels);
        QCOMPARE(QSize(f.width, f.height), expected.size());
        if (turns)
            QCOMPARE(f.stride, f.width * 4);
        else
            QVERIFY(f.stride >= f.width * 4);
        QCOMPARE(f.image(), expected);
        QCOMPARE(BKKit::captureScreen().convertToFormat(QImage::Format_ARGB32), expected);
        QCOMPARE(BKKit::captureScreenRaw(nullptr, nullptr, nullptr), f.pixels);
        if (turns && !m_turned) m_turned = f.pixels;
        if (turns) QCOMPARE(f.pixels, m_turned);
    }

    void frameStaysUntilTheNextCapture() {
        const Frame first = capture(0);
        QVERIFY(first.pixels);
        const QImage before = first.image();
        const QRect mark(300, 300, 20, 20);
        fillRoot(m_display, mark, 0x00FFFF);
        QCOMPARE(first.image(), before);
        const Frame second = capture(0);
        QCOMPARE(second.pixels, first.pixels);
        QCOMPARE(second.image().pixel(mark.topLeft()), 0xFF00FFFFu);
        drawScene();
    }
};

PRIVATE_XVFB_TEST_MAIN(CaptureTest, "1170x2532x24")
#include "tst_capture.moc"
