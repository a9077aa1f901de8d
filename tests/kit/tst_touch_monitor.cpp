#include "kit/BKKit.h"
#include "kit/TouchEventStream.h"
#include "kit/touch_testing.h"

#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace brisko;

namespace {

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

input_event ev(uint16_t type, uint16_t code, int32_t value) {
    return {.time = {}, .type = type, .code = code, .value = value};
}

// A touch at (x, y) in device units (0..1000 by 0..2000): down, one move, up.
std::vector<input_event> gesture(int x, int y) {
    return {ev(EV_ABS, ABS_MT_TRACKING_ID, 1),    ev(EV_ABS, ABS_MT_POSITION_X, x),
            ev(EV_ABS, ABS_MT_POSITION_Y, y),     ev(EV_SYN, SYN_REPORT, 0),
            ev(EV_ABS, ABS_MT_POSITION_X, x + 1), ev(EV_SYN, SYN_REPORT, 0),
            ev(EV_ABS, ABS_MT_TRACKING_ID, -1),   ev(EV_SYN, SYN_REPORT, 0)};
}

bool writeEvents(int fd, const std::vector<input_event>& events, size_t from = 0, size_t to = SIZE_MAX) {
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

class TouchMonitorTest : public QObject {
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
        auto events = gesture(500, 1000);
        events.resize(4); // down only
        events.push_back(ev(EV_SYN, SYN_DROPPED, 0));
        events.push_back(ev(EV_SYN, SYN_REPORT, 0));
        QVERIFY(writeEvents(fds[1], events));
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

QTEST_MAIN(TouchMonitorTest)
#include "tst_touch_monitor.moc"
