// Captures of a private display, drawn on by a plain X11 client of the test.
#include "capture_xvfb.h"

#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"

#include <QtTest>

#include <X11/Xlib.h>

#include <cstring>
#include <vector>

using namespace brisko;

namespace {

constexpr QRgb kBackground = 0x203040;

struct Patch {
    QRect rect;
    QRgb colour;
};

// Asymmetric on purpose: every quarter turn and mirror of this scene looks different.
const Patch kScene[] = {
    {QRect(10, 20, 100, 50), 0xFF0000},
    {QRect(700, 5, 50, 31), 0x00FF00},
    {QRect(33, 2000, 80, 41), 0x0000FF},
    {QRect(500, 1200, 7, 9), 0xFFFFFF},
};

QRgb rgbAt(const uint8_t* pixels, int32_t stride, int x, int y) {
    uint32_t pixel;
    std::memcpy(&pixel, pixels + size_t(y) * size_t(stride) + size_t(x) * 4, 4);
    return pixel;
}

QImage wrap(const uint8_t* pixels, int32_t width, int32_t height, int32_t stride) {
    return QImage(pixels, width, height, stride, QImage::Format_ARGB32).copy();
}

} // namespace

class CaptureTest : public QObject {
    Q_OBJECT

    Display* m_display = nullptr;
    QSize m_root;
    QImage m_upright; // the scene captured in quad 0

    void fill(const QRect& rect, QRgb colour) {
        GC gc = XCreateGC(m_display, DefaultRootWindow(m_display), 0, nullptr);
        XSetForeground(m_display, gc, colour);
        XFillRectangle(m_display, DefaultRootWindow(m_display), gc, rect.x(), rect.y(),
                       unsigned(rect.width()), unsigned(rect.height()));
        XFreeGC(m_display, gc);
        XSync(m_display, False);
    }

    void drawScene() {
        fill(QRect(QPoint(0, 0), m_root), kBackground);
        for (const Patch& patch : kScene)
            fill(patch.rect, patch.colour);
    }

    void setQuad(int quad, bool landscapeBased = false) {
        _bkSetScreenForTesting(s_screenPointSize, s_screenScale, quad);
        _bkSetCaptureBaseForTesting(s_captureNativeSize, landscapeBased);
    }

  private slots:
    void initTestCase() {
        m_display = XOpenDisplay(nullptr);
        QVERIFY2(m_display, "the private display is gone");
        m_root = QSize(DisplayWidth(m_display, DefaultScreen(m_display)),
                       DisplayHeight(m_display, DefaultScreen(m_display)));
        BKKit::initialize();
        QCOMPARE(s_captureNativeSize, QSizeF(m_root));
        QCOMPARE(s_rotationQuad.load(), 0); // an unrotated output is upright whatever its shape
        drawScene();
    }

    void cleanupTestCase() {
        if (m_display) XCloseDisplay(m_display);
    }

    void uprightFrameIsTheScreen() {
        setQuad(0);
        int32_t width = 0, height = 0, stride = 0;
        const uint8_t* pixels = BKKit::captureScreenRaw(&width, &height, &stride);
        QVERIFY(pixels);
        QCOMPARE(QSize(width, height), m_root);
        QVERIFY(stride >= width * 4);
        for (const Patch& patch : kScene) {
            const QRect r = patch.rect;
            for (const QPoint& inside : {r.topLeft(), r.bottomRight(), r.center()})
                QCOMPARE(rgbAt(pixels, stride, inside.x(), inside.y()), 0xFF000000u | patch.colour);
            for (const QPoint& outside : {r.topLeft() - QPoint(1, 1), r.bottomRight() + QPoint(1, 1)})
                QCOMPARE(rgbAt(pixels, stride, outside.x(), outside.y()), 0xFF000000u | kBackground);
        }
        m_upright = wrap(pixels, width, height, stride);
    }

    void everyQuadIsTheUprightFrameTurned() {
        QVERIFY(!m_upright.isNull());
        struct Row {
            int quad;
            bool landscapeBased;
            int turns;
        };
        const Row rows[] = {{0, false, 0}, {1, false, 1}, {2, false, 2},
                            {3, false, 3}, {0, true, 1},  {3, true, 0}};
        for (const Row& row : rows) {
            setQuad(row.quad, row.landscapeBased);
            int32_t width = 0, height = 0, stride = 0;
            const uint8_t* pixels = BKKit::captureScreenRaw(&width, &height, &stride);
            setQuad(0);
            QVERIFY(pixels);
            QCOMPARE(QSize(width, height), row.turns % 2 ? m_root.transposed() : m_root);
            QCOMPARE(stride, row.turns ? width * 4 : int32_t(m_upright.bytesPerLine()));
            QCOMPARE(wrap(pixels, width, height, stride),
                     m_upright.transformed(QTransform().rotate(90 * row.turns)));
        }
    }

    // A point of the panel and the pixel a touch there maps to show the same thing, in every quad.
    void touchMappingAgreesWithThePicture() {
        for (int quad = 0; quad < 4; ++quad) {
            setQuad(quad);
            int32_t width = 0, height = 0, stride = 0;
            const uint8_t* pixels = BKKit::captureScreenRaw(&width, &height, &stride);
            QVERIFY(pixels);
            for (const Patch& patch : kScene) {
                const QPointF panel = QPointF(patch.rect.center()) + QPointF(0.5, 0.5);
                double x = 0, y = 0;
                _physNormToLogical(&x, &y, panel.x() / m_root.width(), panel.y() / m_root.height());
                QCOMPARE(rgbAt(pixels, stride, int(x * s_screenScale), int(y * s_screenScale)),
                         0xFF000000u | patch.colour);
            }
        }
        setQuad(0);
    }

    void frameStaysUntilTheNextCapture() {
        setQuad(0);
        int32_t width = 0, height = 0, stride = 0;
        const uint8_t* first = BKKit::captureScreenRaw(&width, &height, &stride);
        QVERIFY(first);
        const QImage before = wrap(first, width, height, stride);
        const QRect mark(300, 300, 20, 20);
        fill(mark, 0x00FFFF);
        QCOMPARE(wrap(first, width, height, stride), before);
        const uint8_t* second = BKKit::captureScreenRaw(&width, &height, &stride);
        QCOMPARE(second, first);
        QCOMPARE(rgbAt(second, stride, mark.x(), mark.y()), 0xFF00FFFFu);
        drawScene();
    }

    void rotationBufferIsReused() {
        std::vector<const uint8_t*> frames;
        for (int quad : {1, 1, 3, 2}) { // all need the same number of bytes
            setQuad(quad);
            frames.push_back(BKKit::captureScreenRaw(nullptr, nullptr, nullptr));
        }
        setQuad(0);
        QVERIFY(frames[0]);
        for (const uint8_t* frame : frames)
            QCOMPARE(frame, frames[0]);
    }

    void outputsAreOptional() {
        setQuad(1);
        int32_t width = -1, stride = -1;
        QVERIFY(BKKit::captureScreenRaw(nullptr, nullptr, nullptr));
        QVERIFY(BKKit::captureScreenRaw(&width, nullptr, &stride));
        setQuad(0);
        QCOMPARE(width, m_root.height());
        QCOMPARE(stride, m_root.height() * 4);
    }

    void imageIsTheUprightFrame() {
        setQuad(3);
        const QImage image = BKKit::captureScreen();
        setQuad(0);
        QCOMPARE(image.size(), m_root.transposed());
        QCOMPARE(image.convertToFormat(QImage::Format_ARGB32),
                 m_upright.transformed(QTransform().rotate(270)));
    }
};

// The server must exist before the application connects to it.
int main(int argc, char** argv) {
    PrivateXvfb server(QStringLiteral("1170x2532x24"), true);
    if (server.display().isEmpty()) return 1;
    qputenv("DISPLAY", server.display().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    CaptureTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_capture.moc"
