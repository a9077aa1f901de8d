// The ball's window on a real X server: shaped so clicks beside it reach the window below,
// driven by the mouse, and kept on top of windows that are mapped later.
#include "kit/BKKit.h"
#include "kit/ball/ball_state.h"
#include "kit/ball/ball_testing.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include "capture_xvfb.h"

using namespace brisko;

namespace {

class Backdrop : public QRasterWindow {
  public:
    QList<QPoint> presses;

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), QColor(0x336699));
    }
    void mousePressEvent(QMouseEvent* event) override { presses << event->globalPosition().toPoint(); }
};

} // namespace

class BallX11Test : public QObject {
    Q_OBJECT
    Display* display_ = nullptr;
    Backdrop backdrop_;
    QStringList words_;

    void click(QPoint at) {
        XTestFakeMotionEvent(display_, -1, at.x(), at.y(), CurrentTime);
        XTestFakeButtonEvent(display_, 1, True, CurrentTime);
        XTestFakeButtonEvent(display_, 1, False, CurrentTime);
        XFlush(display_);
    }

    // The highest window that is on screen; toolkits keep unmapped helper windows in the stack.
    Window topmost() {
        Window root, parent, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display_, DefaultRootWindow(display_), &root, &parent, &children, &count);
        Window top = None;
        for (unsigned i = count; i-- > 0 && top == None;) {
            XWindowAttributes attributes;
            if (XGetWindowAttributes(display_, children[i], &attributes) &&
                attributes.map_state == IsViewable)
                top = children[i];
        }
        if (children) XFree(children);
        return top;
    }

    QPoint ballCentre() const { return QPoint(int(_fb.x), int(_fb.y)); }

  private slots:
    void initTestCase() {
        display_ = XOpenDisplay(nullptr);
        QVERIFY(display_);
        backdrop_.setFlags(Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
        backdrop_.setGeometry(QGuiApplication::primaryScreen()->geometry());
        backdrop_.show();
        QVERIFY(QTest::qWaitForWindowExposed(&backdrop_));
        BKKit::showFloatingBallWithCallback([this](const QString& word) { words_ << word; });
        QVERIFY(QTest::qWaitForWindowExposed(_fbWindowForTesting()));
    }

    void cleanupTestCase() {
        BKKit::hideFloatingBall();
        XCloseDisplay(display_);
    }

    // Within the window's square but outside the round ball, and on the ball itself.
    void clicksBesideTheBallPassThrough() {
        const QRect square = _fbWindowForTesting()->geometry();
        QCOMPARE(square.size(), QSize(32, 32));
        click(square.topLeft() + QPoint(2, 2));
        QTRY_COMPARE(backdrop_.presses, QList<QPoint>{square.topLeft() + QPoint(2, 2)});
        click(ballCentre());
        QTRY_VERIFY(_fb.expanded);
        QTRY_COMPARE(_fb.expandProgress, 1.0);
        QCOMPARE(backdrop_.presses.size(), 1);
    }

    // The open fan's buttons are part of the shape; the gaps between them are not.
    void openFanTakesItsButtons() {
        QTRY_COMPARE(_fbWindowForTesting()->width(), 152);
        click(ballCentre() - QPoint(20, 0)); // between the ball and button 0
        QTRY_COMPARE(backdrop_.presses.size(), 2);
        click(ballCentre() - QPoint(40, 0));
        QTRY_COMPARE(words_, QStringList{"close"});
        QTRY_COMPARE(_fb.expandProgress, 0.0);
        QTRY_COMPARE(_fbWindowForTesting()->width(), 32);
    }

    void coveredBallComesBackOnTop() {
        QRasterWindow cover;
        cover.setFlags(Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
        cover.setGeometry(QRect(ballCentre() - QPoint(100, 100), QSize(200, 200)));
        cover.show();
        QVERIFY(QTest::qWaitForWindowExposed(&cover));
        QTRY_COMPARE(topmost(), Window(_fbWindowForTesting()->winId()));
    }
};

PRIVATE_XVFB_TEST_MAIN(BallX11Test, "800x1000x24")
#include "tst_ball_x11.moc"
