// Touchscreen input: decoding protocol-B frames, and following the devices that deliver them.

#include "kit/BKKit.h"
#include "kit/TouchEventStream.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"
#include "kit/touch_decoder.h"
#include "kit/touch_testing.h"

#include <QtTest>

#include <climits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace brisko;

namespace {

using Events = std::vector<input_event>;

input_event ev(uint16_t type, uint16_t code, int32_t value) {
    return {.time = {}, .type = type, .code = code, .value = value};
}

Events operator+(Events a, const Events& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Events slot(int s) {
    return {ev(EV_ABS, ABS_MT_SLOT, s)};
}
Events contact(int id) {
    return {ev(EV_ABS, ABS_MT_TRACKING_ID, id)};
}
Events at(int x, int y) {
    return {ev(EV_ABS, ABS_MT_POSITION_X, x), ev(EV_ABS, ABS_MT_POSITION_Y, y)};
}
Events atX(int x) {
    return {ev(EV_ABS, ABS_MT_POSITION_X, x)};
}
Events syn() {
    return {ev(EV_SYN, SYN_REPORT, 0)};
}
Events down(int s, int id, int x, int y) {
    return slot(s) + contact(id) + at(x, y) + syn();
}
Events lift(int s) {
    return slot(s) + contact(-1) + syn();
}
// Down, one move, up.
Events gesture(int x, int y) {
    return down(0, 1, x, y) + atX(x + 1) + syn() + lift(0);
}

struct Recorder {
    QString phases;
    QList<QPointF> points;
    bool offMainThread = false;
    BKTouchCallback callback() {
        return [this](int phase, double x, double y) { add(phase, x, y); };
    }
    void add(int phase, double x, double y) {
        offMainThread |= QThread::currentThread() != qApp->thread();
        phases += QString::number(phase);
        points << QPointF(x, y);
    }
};

bool writeEvents(int fd, const Events& events, size_t from = 0, size_t to = SIZE_MAX) {
    const size_t end = std::min(to, events.size() * sizeof(input_event));
    return ::write(fd, reinterpret_cast<const char*>(events.data()) + from, end - from) ==
           ssize_t(end - from);
}

TouchSnapshot idle() {
    return {0, std::vector<TouchSlot>(4)};
}

// Event nodes in the test folder are FIFOs; anything else is not a touchscreen.
std::optional<TouchDeviceInfo> fifoProbe(int fd) {
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISFIFO(st.st_mode)) return std::nullopt;
    return TouchDeviceInfo{{0, 1000}, {0, 2000}, idle()};
}

// A touchscreen node the test writes into; closing the writer is the device going away.
struct FakeScreen {
    QString path;
    int writer = -1;
    explicit FakeScreen(const QString& p) : path(p) {
        if (::mkfifo(QFile::encodeName(p).constData(), 0600) == 0)
            writer = ::open(QFile::encodeName(p).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    }
    ~FakeScreen() {
        unplug();
        QFile::remove(path);
    }
    void unplug() {
        if (writer >= 0) ::close(writer);
        writer = -1;
    }
};

} // namespace

Q_DECLARE_METATYPE(Events)

class TouchTest : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;
    Recorder rec_;

    QString node(const char* name) const { return dir_.filePath(name); }

  private slots:
    void initTestCase() {
        QVERIFY(dir_.isValid());
        _touchMonitorUseDevices(dir_.path(), fifoProbe);
    }
    void init() { rec_ = Recorder(); }
    void cleanup() { BKKit::stopTouchMonitor(); }

    void framesBecomePhases_data() {
        QTest::addColumn<Events>("events");
        QTest::addColumn<QString>("expected");
        const Events a = down(0, 7, 500, 1000);
        const QString began = "0@(0.5,0.5)";
        QTest::newRow("began") << a << began;
        QTest::newRow("moved") << a + atX(250) + syn() << began + " 1@(0.25,0.5)";
        QTest::newRow("ended where it left") << a + lift(0) << began + " 2@(0.5,0.5)";
        QTest::newRow("began wins over its own position")
            << slot(0) + contact(3) + at(0, 2000) + syn() << "0@(0,1)";
        QTest::newRow("ended wins over a last move")
            << a + atX(1000) + contact(-1) + syn() << began + " 2@(1,0.5)";
        QTest::newRow("same position is no move") << a + atX(500) + syn() << began;
        QTest::newRow("range only: tool and pressure")
            << a + Events{ev(EV_KEY, BTN_TOOL_FINGER, 1), ev(EV_ABS, ABS_MT_PRESSURE, 30)} + syn() << began;
        QTest::newRow("other types and single-touch axes")
            << Events{ev(EV_KEY, BTN_TOUCH, 1), ev(EV_MSC, MSC_TIMESTAMP, 5), ev(EV_REL, REL_X, 3),
                      ev(EV_ABS, ABS_X, 10),    ev(EV_ABS, ABS_Y, 10),        ev(EV_SYN, SYN_MT_REPORT, 0)} +
                   syn()
            << "";
        QTest::newRow("second finger joins and leaves")
            << a + down(1, 8, 0, 0) + slot(1) + at(100, 100) + syn() + lift(1) + lift(0)
            << began + " 2@(0.5,0.5)";
        QTest::newRow("first finger leaves first: the second takes over")
            << a + down(1, 8, 0, 0) + lift(0) + slot(1) + atX(1000) + syn() + lift(1)
            << began + " 1@(0,0) 1@(1,0) 2@(1,0)";
        QTest::newRow("both fingers in one frame")
            << slot(2) + contact(4) + at(0, 0) + slot(3) + contact(5) + at(1000, 2000) + syn() << "0@(0,0)";
        QTest::newRow("slots out of range are ignored")
            << slot(99) + contact(1) + at(1, 1) + syn() + slot(-1) + contact(2) + syn() << "";
        QTest::newRow("events of a dropped gap are discarded")
            << a + Events{ev(EV_SYN, SYN_DROPPED, 0)} + atX(0) + contact(-1) + syn() << began;
    }
    void framesBecomePhases() {
        QFETCH(Events, events);
        QFETCH(QString, expected);
        TouchDecoder decoder({0, 1000}, {0, 2000}, idle());
        QStringList got;
        for (const input_event& e : events)
            if (auto r = decoder.feed(e)) got << QString("%1@(%2,%3)").arg(r->phase).arg(r->x).arg(r->y);
        QCOMPARE(got.join(' '), expected);
    }

    void normalisesByTheAxisRange_data() {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("minimum");
        QTest::addColumn<int>("maximum");
        QTest::addColumn<double>("expected");
        QTest::newRow("non-zero minimum") << 600 << 100 << 1100 << 0.5;
        QTest::newRow("minimum above maximum runs backwards") << 250 << 1000 << 0 << 0.75;
        QTest::newRow("beyond the maximum") << 1200 << 0 << 1000 << 1.0;
        QTest::newRow("empty range") << 5 << 5 << 5 << 0.0;
        QTest::newRow("full 32-bit range") << 0 << INT_MIN << INT_MAX << 0.5;
    }
    void normalisesByTheAxisRange() {
        QFETCH(int, value);
        QFETCH(int, minimum);
        QFETCH(int, maximum);
        QFETCH(double, expected);
        QVERIFY(qAbs(TouchDecoder::normalise(value, {minimum, maximum}) - expected) < 1e-9);
    }

    // A finger on a physical corner lands on the same logical point whatever the digitizer's
    // shape: positions leave the decoder in the portrait frame the geometry maps from. A
    // landscape panel at rest is what the kit calls quad 3.
    void panelCornersInEveryRotation_data() {
        QTest::addColumn<QSize>("span"); // the axes' maxima
        QTest::addColumn<QSize>("unitsPerMm");
        QTest::addColumn<int>("quad");
        QTest::addColumn<QPoint>("raw");
        QTest::addColumn<QPointF>("logical");
        // A landscape panel unless the row says otherwise; resolution 0: the device does not say.
        const auto row = [](const char* name, int quad, QPoint raw, QPointF logical,
                            QSize span = {1919, 1079}, QSize unitsPerMm = {0, 0}) {
            QTest::newRow(name) << span << unitsPerMm << quad << raw << logical;
        };
        const QPoint topLeft(0, 0), topRight(1919, 0);
        row("landscape at rest, top left", 3, topLeft, {0, 0});
        row("landscape at rest, top right", 3, topRight, {1920, 0});
        row("landscape turned over", 1, topLeft, {1920, 1080});
        row("landscape stood up", 0, topLeft, {1080, 0});
        row("landscape stood up the other way", 2, topLeft, {0, 1920});
        row("portrait on its side", 3, {1079, 0}, {0, 0}, {1079, 1919});
        // Equal spans, but 5 units/mm across against 20 down: 384 mm wide, 96 mm tall.
        row("resolution decides the shape", 3, topRight, {1920, 0}, {1919, 1919}, {5, 20});
    }
    void panelCornersInEveryRotation() {
        QFETCH(QSize, span);
        QFETCH(QSize, unitsPerMm);
        QFETCH(int, quad);
        QFETCH(QPoint, raw);
        QFETCH(QPointF, logical);
        _bkSetScreenForTesting(QSizeF(1080, 1920), 1, quad);
        TouchDecoder decoder({0, span.width(), unitsPerMm.width()}, {0, span.height(), unitsPerMm.height()},
                             idle());
        std::optional<TouchReport> report;
        for (const input_event& e : down(0, 1, raw.x(), raw.y()))
            if (auto r = decoder.feed(e)) report = r;
        QVERIFY(report);
        double lx = -1, ly = -1;
        _physNormToLogical(&lx, &ly, report->x, report->y);
        QCOMPARE(QPointF(lx, ly), logical);
    }

    // A dropped-events gap during which the finger lifted, then the end of the stream.
    void streamOverAPipeHealsAGap() {
        int fds[2];
        QVERIFY(::pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0);
        bool closed = false;
        int resyncs = 0;
        TouchEventStream stream(
            fds[0], TouchDecoder({0, 1000}, {0, 2000}, idle()),
            [this](const TouchReport& r) { rec_.add(r.phase, r.x, r.y); },
            [&resyncs](int) {
                ++resyncs;
                return std::optional(idle());
            },
            [&closed] { closed = true; });
        QVERIFY(writeEvents(fds[1], down(0, 1, 500, 1000) + Events{ev(EV_SYN, SYN_DROPPED, 0)} + syn()));
        QTRY_COMPARE(rec_.phases, QString("02"));
        QCOMPARE(resyncs, 1);
        ::close(fds[1]);
        QTRY_VERIFY(closed);
        QVERIFY(!stream.isOpen());
    }

    void followsTouchscreensThatComeAndGo() {
        FakeScreen first(node("event0"));
        QFile other(node("event7")); // not a touchscreen
        QVERIFY(other.open(QIODevice::WriteOnly));
        BKKit::startTouchMonitorWithCallback(rec_.callback());
        QCOMPARE(_touchMonitorDeviceCount(), 1);
        QVERIFY(writeEvents(first.writer, gesture(1000, 2000), 0, 13)); // a record split across reads
        QTest::qWait(20);
        QVERIFY(writeEvents(first.writer, gesture(1000, 2000), 13));
        QTRY_COMPARE(rec_.phases, QString("012"));
        QCOMPARE(rec_.points[0], QPointF(1, 1));
        QVERIFY(!rec_.offMainThread);

        FakeScreen second(node("event1"));
        QTRY_COMPARE(_touchMonitorDeviceCount(), 2);
        QVERIFY(writeEvents(second.writer, gesture(0, 0)));
        QTRY_COMPARE(rec_.phases, QString("012012"));

        QVERIFY(QFile::remove(first.path)); // node removed while its writer still exists
        QTRY_COMPARE(_touchMonitorDeviceCount(), 1);
        second.unplug();
        QTRY_COMPARE(_touchMonitorDeviceCount(), 0);
    }

    void stopFromTheCallbackThenStartAgainAndSwapTheCallback() {
        FakeScreen screen(node("event2"));
        int calls = 0;
        BKKit::startTouchMonitorWithCallback([&calls](int, double, double) {
            ++calls;
            BKKit::stopTouchMonitor(); // the ball hides on a button press
        });
        QVERIFY(writeEvents(screen.writer, gesture(10, 10)));
        QTRY_COMPARE(_touchMonitorDeviceCount(), -1);
        QCOMPARE(calls, 1); // the rest of the same read is not delivered

        BKKit::startTouchMonitorWithCallback(rec_.callback());
        BKKit::startTouchMonitorWithCallback(nullptr); // ignored
        Recorder other;
        BKKit::startTouchMonitorWithCallback(other.callback());
        QCOMPARE(_touchMonitorDeviceCount(), 1);
        QVERIFY(writeEvents(screen.writer, gesture(10, 10)));
        QTRY_COMPARE(other.phases, QString("012"));
        QCOMPARE(rec_.phases, QString());
        BKKit::stopTouchMonitor();
        BKKit::stopTouchMonitor();
        QCOMPARE(_touchMonitorDeviceCount(), -1);
    }
};

QTEST_MAIN(TouchTest)
#include "tst_touch.moc"
