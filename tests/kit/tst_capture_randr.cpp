// Capture across a RandR screen change: a nested X server (Xephyr) that xrandr can resize,
// because Xvfb offers no other size than the one it started with.
#include "kit/BKKit.h"

#include <QGuiApplication>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "capture_xvfb.h"

using namespace brisko;

namespace {

// Xephyr in a window of a private Xvfb; members end in reverse order, the nested server first.
struct NestedServer {
    PrivateXvfb parent{"1700x1700x24", false};
    PrivateXvfb nested{"Xephyr", {"-screen", "1200x1600", "-nolisten", "tcp", "-ac"}, parent.display()};
};

} // namespace

class CaptureRandrTest : public QObject {
    Q_OBJECT
    Display* display_ = nullptr;

    QSize rootSize() {
        Window root;
        int x, y;
        unsigned width = 0, height = 0, border, depth;
        XGetGeometry(display_, DefaultRootWindow(display_), &root, &x, &y, &width, &height, &border, &depth);
        return QSize(int(width), int(height));
    }

    // An asymmetric mark, so a frame that was turned cannot pass for the root.
    void paintMarks() {
        fillRoot(display_, QRect(0, 0, 4000, 4000), 0x102030);
        fillRoot(display_, QRect(10, 20, 300, 40), 0xFF0000);
    }

    QImage rootImage() {
        const QSize size = rootSize();
        XImage* image = XGetImage(display_, DefaultRootWindow(display_), 0, 0, unsigned(size.width()),
                                  unsigned(size.height()), AllPlanes, ZPixmap);
        QImage copy = QImage(reinterpret_cast<const uchar*>(image->data), size.width(), size.height(),
                             image->bytes_per_line, QImage::Format_RGB32)
                          .convertToFormat(QImage::Format_ARGB32);
        XDestroyImage(image);
        return copy;
    }

  private slots:
    void initTestCase() {
        display_ = XOpenDisplay(nullptr);
        QVERIFY(display_);
    }
    void cleanupTestCase() { XCloseDisplay(display_); }

    void framesFollowTheScreenSize_data() {
        QTest::addColumn<QString>("size");
        QTest::newRow("turned to landscape") << "1600x1200";
        QTest::newRow("smaller") << "1024x768";
        QTest::newRow("back to the start") << "1200x1600";
    }
    void framesFollowTheScreenSize() {
        QFETCH(QString, size);
        QCOMPARE(QProcess::execute("xrandr", {"-s", size}), 0);
        const QStringList sides = size.split('x');
        const QSize expected(sides[0].toInt(), sides[1].toInt());
        QTRY_COMPARE(rootSize(), expected);
        paintMarks();
        const QImage frame = BKKit::captureScreen();
        QCOMPARE(frame.size(), expected);
        QCOMPARE(frame.convertToFormat(QImage::Format_ARGB32), rootImage());
    }
};

int main(int argc, char** argv) {
    NestedServer server;
    if (server.nested.display().isEmpty()) {
        std::fprintf(stderr, "Xephyr is not installed (scripts/setup installs it)\n");
        return 1;
    }
    qputenv("DISPLAY", server.nested.display().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    BKKit::initialize();
    if (BKKit::captureScreen().size() != QSize(1200, 1600)) return 1; // the segment exists before the change
    CaptureRandrTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_capture_randr.moc"
