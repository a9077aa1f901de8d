// The ball's gestures, animation and layout, driven through the touch handler and stepped ticks.
#include "ball_driver.h"

#include "kit/BKKit.h"
#include "kit/ball/ball_testing.h"
#include "kit/geometry_testing.h"

#include <QtTest>

#include <thread>

using namespace brisko;
using namespace brisko::testing;

namespace {
constexpr double kW = 390, kH = 844;
constexpr double kRight = 381, kLeft = 9, kTop = 66, kBottom = kH - 46;
} // namespace

class BallTest : public QObject {
    Q_OBJECT
    QStringList words_;

    void showBall() {
        BKKit::showFloatingBallWithCallback([this](const QString& word) { words_ << word; });
    }

  private slots:
    void initTestCase() {
        _fbUseManualTickForTesting(true);
        BKKit::hideFloatingBall(); // without a show: nothing happens
        QVERIFY(!BKKit::isFloatingBallShown());
    }

    void init() {
        _bkSetScreenForTesting(QSizeF(kW, kH), 2, 0);
        words_.clear();
        showBall();
    }

    void cleanup() { BKKit::hideFloatingBall(); }

    void secondShowKeepsFirstCallbackAndState() {
        _fb.running = true;
        BKKit::showFloatingBallWithCallback([](const QString&) { QFAIL("the second callback was kept"); });
        QVERIFY(_fb.running);
        openFan();
        touch(0, ball() - QPointF(40, 0));
        QCOMPARE(words_, QStringList{"close"});
    }

    void grabDistance_data() {
        QTest::addColumn<QPointF>("offset");
        QTest::addColumn<bool>("grabbed");
        QTest::newRow("27 left") << QPointF(-27, 0) << true;
        QTest::newRow("28 left") << QPointF(-28, 0) << false;
        QTest::newRow("diagonal 20,20") << QPointF(-20, 20) << false;
    }
    void grabDistance() {
        QFETCH(QPointF, offset);
        touch(0, ball() + offset);
        QTEST(_fb.dragging, "grabbed");
    }

    // Grab at the centre, move to `to`, release there, then run the animation out.
    void dragAndRelease_data() {
        QTest::addColumn<QPointF>("to");
        QTest::addColumn<QPointF>("settled");
        QTest::addColumn<bool>("dockRight");
        QTest::addColumn<bool>("expanded");
        const double y = 0.4 * kH;
        QTest::newRow("9.9-point move is a tap")
            << QPointF(kRight - 9.9, y) << QPointF(kRight, y) << true << true;
        QTest::newRow("release at the middle docks left")
            << QPointF(kW / 2, y) << QPointF(kLeft, y) << false << false;
        QTest::newRow("just right of the middle")
            << QPointF(kW / 2 + 1, y) << QPointF(kRight, y) << true << false;
        QTest::newRow("above the top limit") << QPointF(200, 3) << QPointF(kRight, kTop) << true << false;
        QTest::newRow("below the bottom limit")
            << QPointF(20, kH) << QPointF(kLeft, kBottom) << false << false;
        QTest::newRow("past the side") << QPointF(-50, y) << QPointF(kLeft, y) << false << false;
    }
    void dragAndRelease() {
        QFETCH(QPointF, to);
        touch(0, ball());
        touch(1, to);
        QVERIFY(_fb.x >= kLeft && _fb.x <= kRight && _fb.y >= kTop && _fb.y <= kBottom);
        touch(2, to);
        QVERIFY(!_fb.dragging);
        ticks(17);
        QTEST(ball(), "settled");
        QTEST(_fb.dockRight, "dockRight");
        QTEST(_fb.expanded, "expanded");
        QVERIFY(!_fb.snapping);
    }

    // Script states: "stopped", "running" or "paused".
    void buttons_data() {
        QTest::addColumn<bool>("dockRight");
        QTest::addColumn<QString>("before");
        QTest::addColumn<double>("distance"); // from the ball centre, towards the middle
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("after");
        const auto row = [](const char* name, bool dockRight, const char* before, double distance,
                            const char* word, const char* after) {
            QTest::newRow(name) << dockRight << QString(before) << distance << QString(word)
                                << QString(after);
        };
        row("close", true, "stopped", 40, "close", "stopped");
        row("close, docked left", false, "running", 40, "close", "running");
        row("pause when stopped", true, "stopped", 80, "", "stopped");
        row("pause", true, "running", 80, "pause", "paused");
        row("resume", true, "paused", 80, "resume", "running");
        row("start", true, "stopped", 120, "start", "running");
        row("stop clears paused", true, "paused", 120, "stop", "stopped");
        row("edge of button 2 hits", false, "stopped", 143.9, "start", "running");
        row("24 from every button", true, "running", 144, "", "running");
        row("the ball itself", true, "running", 0, "", "running");
    }
    void buttons() {
        QFETCH(bool, dockRight);
        QFETCH(QString, before);
        QFETCH(double, distance);
        QFETCH(QString, word);
        if (!dockRight) BKKit::setFloatingBallPosition(0, 400);
        QTRY_COMPARE(_fb.dockRight, dockRight);
        _fb.running = before != "stopped";
        _fb.paused = before == "paused";
        openFan();
        touch(0, ball() + QPointF(dockRight ? -distance : distance, 0));
        QCOMPARE(words_, word.isEmpty() ? QStringList() : QStringList{word});
        const QString after = _fb.running ? (_fb.paused ? "paused" : "running") : "stopped";
        QTEST(after, "after");
        QVERIFY(_fb.running || !_fb.paused); // a stopped script is never paused
        QVERIFY(!_fb.expanded);
        QVERIFY(!_fb.dragging);
    }

    void halfOpenFanLetsTheBallBeGrabbed() {
        tap();
        ticks(6); // progress 0.48
        touch(0, ball());
        QVERIFY(_fb.dragging);
        QVERIFY(_fb.expanded);
    }

    void layoutFollowsTheFan_data() {
        QTest::addColumn<bool>("dockRight");
        QTest::addColumn<double>("progress");
        QTest::addColumn<double>("left");
        QTest::addColumn<double>("width");
        QTest::addColumn<double>("button0");
        QTest::newRow("open, left") << false << 1.0 << kLeft - 16 << 152.0 << 56.0;
        // Under one point of fan the root stays around the ball.
        QTest::newRow("barely open") << true << 0.002 << kRight - 16 << 32.0
                                     << 16.0 - 40 * _fbEaseOutCubic(0.002);
    }
    void layoutFollowsTheFan() {
        QFETCH(bool, dockRight);
        QFETCH(double, progress);
        _fbDock(dockRight);
        _fb.expandProgress = progress;
        const FbLayout layout = _fbLayoutFor(_fb);
        QTEST(layout.root.left(), "left");
        QTEST(layout.root.width(), "width");
        QCOMPARE(layout.root.height(), 32.0);
        QTEST(layout.buttonCentres[0].x(), "button0");
        QCOMPARE(layout.root.left() + layout.ballCentre.x(), _fb.x);
    }

    // From portrait 390 × 844 at y to the quad's frame: the side stays, the relative height stays.
    void rotation_data() {
        QTest::addColumn<QSizeF>("portrait");
        QTest::addColumn<double>("y");
        QTest::addColumn<int>("quad");
        QTest::addColumn<double>("yAfter");
        QTest::newRow("top limit to landscape") << QSizeF(kW, kH) << kTop << 1 << kTop;
        QTest::newRow("bottom limit to landscape") << QSizeF(kW, kH) << kBottom << 3 << kW - 46;
        QTest::newRow("middle to landscape")
            << QSizeF(kW, kH) << (kTop + kBottom) / 2 << 1 << (kTop + kW - 46) / 2;
        QTest::newRow("upside down keeps y") << QSizeF(kW, kH) << 300.0 << 2 << 300.0;
        // Landscape 844 × 90 leaves no room between the limits: the ball goes to the middle.
        QTest::newRow("from a screen too short") << QSizeF(90, kH) << 50.0 << 0 << 66 + 0.5 * (kH - 112);
    }
    void rotation() {
        QFETCH(QSizeF, portrait);
        QFETCH(double, y);
        QFETCH(int, quad);
        cleanup();
        _bkSetScreenForTesting(portrait, 2, quad == 0 ? 1 : 0);
        showBall();
        BKKit::setFloatingBallPosition(0, y);
        QTRY_VERIFY(!_fb.dockRight);
        tap();
        ticks(5);
        _bkSetScreenForTesting(portrait, 2, quad);
        _fbUpdateRotation();
        const bool sideways = quad % 2 != 0;
        QCOMPARE(_fb.screenW, sideways ? portrait.height() : portrait.width());
        QTEST(ball().y(), "yAfter");
        QCOMPARE(ball().x(), kLeft);
        QVERIFY(!_fb.expanded);
        QCOMPARE(_fb.expandProgress, 0.0);
    }

    void positionIsTakenUnclamped() {
        BKKit::setFloatingBallPosition(0, 20);
        QTRY_COMPARE(ball(), QPointF(kLeft, 20));
        BKKit::setFloatingBallPosition(7, 900);
        QTRY_COMPARE(ball(), QPointF(kRight, 900));
    }

    void settersFromAnotherThread() {
        BKKit::setFloatingBallPaused(true);
        std::thread([] { BKKit::setFloatingBallRunning(false); }).join();
        QVERIFY(!_fb.paused);
        BKKit::hideFloatingBall();
        showBall();
        QVERIFY(!_fb.running && !_fb.paused); // a show starts from a clean state
    }

    void touchesWhileHiddenAreIgnored() {
        const QPointF at = ball();
        BKKit::hideFloatingBall();
        touch(0, at);
        QVERIFY(!_fb.dragging);
    }
};

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    BallTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ball.moc"
