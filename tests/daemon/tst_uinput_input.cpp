// Script input without an X server: the events the virtual touchscreen and keyboard write, read
// back from a pipe, and where the kit's own touch decoder says they land.

#include "daemon/script_api/api_calls.h"
#include "daemon/script_api/uinput/uinput_device.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"
#include "kit/touch_decoder.h"
#include "tests/support/manual_scheduler.h"

#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <thread>
#include <unistd.h>

using namespace brisko;
using namespace brisko::scriptapi;

namespace {

// Axes one point wider than the numbers used, so axis values equal the points asked for.
const TouchFrame kPlainFrame{QSize(1001, 2001), false, false};

struct Pipe {
    int read = -1, write = -1;
    Pipe() {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC | O_NONBLOCK) == 0) read = fds[0], write = fds[1];
    }
    ~Pipe() {
        ::close(read);
        ::close(write);
    }
    QList<input_event> drain() const {
        QList<input_event> events;
        input_event event;
        while (::read(read, &event, sizeof event) == sizeof event)
            events << event;
        return events;
    }
};

// Each frame as one word: what a reader of the device would make of it, or "malformed".
QString frameWord(const QMap<int, int>& abs, const QMap<int, int>& keys) {
    const auto position = [&] { return QStringLiteral("%1,%2").arg(abs[ABS_X]).arg(abs[ABS_Y]); };
    const bool mirrored =
        abs.value(ABS_X) == abs.value(ABS_MT_POSITION_X) && abs.value(ABS_Y) == abs.value(ABS_MT_POSITION_Y);
    if (abs.value(ABS_MT_TRACKING_ID, -2) >= 0 && keys.value(BTN_TOUCH) == 1 && abs.size() == 6 && mirrored)
        return QLatin1String("down ") + position();
    if (abs.value(ABS_MT_TRACKING_ID, -2) == -1 && keys.value(BTN_TOUCH, -1) == 0 && abs.size() == 1)
        return QStringLiteral("up");
    if (abs.size() == 4 && keys.isEmpty() && mirrored) return QLatin1String("move ") + position();
    if (abs.isEmpty() && keys.size() == 1)
        return QStringLiteral("key %1 %2").arg(keys.firstKey()).arg(keys.first());
    return QStringLiteral("malformed");
}

QString trace(const QList<input_event>& events) {
    QStringList words;
    QMap<int, int> abs, keys;
    for (const input_event& event : events) {
        if (event.type == EV_SYN && event.code == SYN_REPORT) {
            words << frameWord(abs, keys);
            abs.clear(), keys.clear();
        } else {
            (event.type == EV_ABS ? abs : keys)[event.code] = event.value;
        }
    }
    if (!abs.isEmpty() || !keys.isEmpty()) words << QStringLiteral("unterminated");
    return words.join(u'|');
}

// "tap 10 20", "swipe 0 0 30 60 48", "key Return" as the API makes them, with the scheduler run
// until nothing is left; "abandoned" after a swipe ends its run as soon as it starts.
QString perform(UinputDevice& device, const QString& request) {
    testing::ManualScheduler scheduler;
    const QStringList w = request.split(u' ');
    const auto point = [&](int i) { return QPointF(w.value(i).toDouble(), w.value(i + 1).toDouble()); };
    if (w[0] == u"tap") return device.tap(point(1));
    if (w[0] == u"key") return device.key(w.value(1));
    QStringList replies;
    const bool abandoned = w.last() == u"abandoned";
    device.swipe(
        point(1), point(3), w.value(5).toInt(), [abandoned] { return abandoned; },
        [&](const QString& error) { replies << error; });
    scheduler.advance(11);
    return scheduler.pendingCount() == 0 && replies.size() == 1 ? replies[0]
                                                                : QStringLiteral("not done once");
}

struct CallRow {
    const char* name;
    const char* request;
    const char* trace;
    const char* error;
};

const CallRow kCallRows[] = {
    {"tap", "tap 10 20", "down 10,20|up", ""},
    {"tap on the far edge", "tap 1001 2001", "down 1000,2000|up", ""},
    {"tap left of the screen", "tap -1 5", "", "outside the screen"},
    {"tap below the screen", "tap 5 2002", "", "outside the screen"},
    {"swipe in three steps", "swipe 0 0 30 60 48", "down 0,0|move 10,20|move 20,40|move 30,60|up", ""},
    {"swipe of no time", "swipe 0 0 30 60 0", "down 0,0|move 30,60|up", ""},
    {"swipe ending off the screen", "swipe 0 0 3000 60 48", "", "outside the screen"},
    {"swipe whose run ended lifts at once", "swipe 0 0 30 60 480 abandoned", "down 0,0|up", ""},
    {"key", "key Return", "key 28 1|key 28 0", ""},
    {"upper-case letter is its key", "key A", "key 30 1|key 30 0", ""},
    {"media key", "key XF86AudioRaiseVolume", "key 115 1|key 115 0", ""},
    {"unknown key", "key Hyper_Q", "", "unknown key: Hyper_Q"},
    {"keysym lookalike", "key return", "", "unknown key: return"},
};

} // namespace

class UinputInputTest : public QObject {
    Q_OBJECT

  private slots:
    void calls_data() {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QString>("trace");
        QTest::addColumn<QString>("error");
        for (const CallRow& row : kCallRows)
            QTest::newRow(row.name) << QString(row.request) << QString(row.trace) << QString(row.error);
    }
    void calls() {
        QFETCH(QString, request);
        QFETCH(QString, trace);
        QFETCH(QString, error);
        Pipe pipe;
        UinputDevice device(pipe.write, kPlainFrame);
        QCOMPARE(perform(device, request), error);
        QCOMPARE(::trace(pipe.drain()), trace);
        // Nothing is left down: the next touch is taken.
        QCOMPARE(device.tap({1, 1}), QString());
        // A descriptor that refuses the write: its error is the reply.
        const int readOnly = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        UinputDevice refused(readOnly, kPlainFrame);
        QCOMPARE(perform(refused, request), error.isEmpty() ? "uinput write: Bad file descriptor" : error);
        ::close(readOnly);
    }

    // The kit's decoder reads the device as it reads a real panel: it lands where it was aimed.
    void landsWhereAimedHoweverTurned_data() {
        QTest::addColumn<int>("quad");
        QTest::addColumn<bool>("landscapePanel");
        QTest::addColumn<QPointF>("aim");
        QTest::newRow("portrait, top left") << 0 << false << QPointF(0, 0);
        QTest::newRow("turned left") << 1 << false << QPointF(700, 100);
        QTest::newRow("upside down, top left") << 2 << false << QPointF(0, 0);
        QTest::newRow("turned right, far corner") << 3 << false << QPointF(844, 390);
        QTest::newRow("wide panel at rest") << 3 << true << QPointF(800, 30);
        QTest::newRow("wide panel stood up") << 0 << true << QPointF(30, 800);
    }
    void landsWhereAimedHoweverTurned() {
        QFETCH(int, quad);
        QFETCH(bool, landscapePanel);
        QFETCH(QPointF, aim);
        _bkSetScreenForTesting(QSizeF(390, 844), 3, quad);
        _bkSetCaptureBaseForTesting(QSizeF(1170, 2532), landscapePanel);
        const TouchFrame frame = currentTouchFrame(QStringLiteral("/nonexistent"));
        QVERIFY(frame.followsKit);
        Pipe pipe;
        UinputDevice device(pipe.write, frame);
        QCOMPARE(device.tap(aim), QString());
        TouchDecoder decoder({0, frame.axes.width() - 1, 0}, {0, frame.axes.height() - 1, 0}, {});
        QList<TouchReport> reports;
        for (const input_event& event : pipe.drain())
            if (const auto report = decoder.feed(event)) reports << *report;
        QCOMPARE(reports.size(), 2); // began, ended
        double x, y;
        _physNormToLogical(&x, &y, reports[0].x, reports[0].y);
        QVERIFY2(std::abs(x - aim.x()) <= 1 && std::abs(y - aim.y()) <= 1,
                 qPrintable(QStringLiteral("%1,%2").arg(x).arg(y)));
    }

    // Without the kit's screen, the first connected display's mode sizes the device.
    void sizedByTheDisplayMode_data() {
        QTest::addColumn<QStringList>("connectors"); // name:status:modes
        QTest::addColumn<QSize>("axes");
        QTest::newRow("the connected one, its first mode")
            << QStringList{"card0-DP-1:disconnected:800x600", "card0-HDMI-A-1:connected:1080x2340i\n720x1280"}
            << QSize(1080, 2340);
        QTest::newRow("connected, no modes") << QStringList{"card0-DP-1:connected:"} << QSize();
        QTest::newRow("not a mode") << QStringList{"card0-DP-1:connected:x1080\n"} << QSize();
        QTest::newRow("absurd mode") << QStringList{"card0-DP-1:connected:99999999x1"} << QSize();
        QTest::newRow("zero mode") << QStringList{"card0-DP-1:connected:0x1080"} << QSize();
    }
    void sizedByTheDisplayMode() {
        QFETCH(QStringList, connectors);
        QFETCH(QSize, axes);
        _bkSetScreenForTesting(QSizeF(0, 0), 0, 0);
        QTemporaryDir root;
        for (const QString& connector : connectors) {
            const QStringList parts = connector.split(u':');
            QVERIFY(QDir(root.path()).mkpath(parts[0]));
            for (const auto& [file, text] : {std::pair{"status", parts[1]}, std::pair{"modes", parts[2]}}) {
                QFile out(root.filePath(parts[0] + u'/' + QLatin1String(file)));
                QVERIFY(out.open(QIODevice::WriteOnly));
                out.write(text.toLatin1() + '\n');
            }
        }
        const TouchFrame frame = currentTouchFrame(root.path());
        QCOMPARE(frame.axes.isEmpty() ? QSize() : frame.axes, axes);
        QVERIFY(!frame.followsKit);
    }

    // Where the kernel offers uinput the device is made (and nothing is pressed on a real
    // screen); where it does not, a call without a display says why neither way works.
    void withoutAnXServer() {
        if (::access("/dev/uinput", W_OK) == 0) {
            QString error;
            QVERIFY2(UinputDevice::create("/dev/uinput", kPlainFrame, &error), qPrintable(error));
            return;
        }
        const QString reason = QString::fromLocal8Bit(strerror(errno));
        _bkSetScreenForTesting(QSizeF(390, 844), 3, 0);
        std::atomic<bool> cancel{false};
        ApiCalls calls(ScriptApiSettings{}, cancel);
        QJsonObject reply;
        std::atomic<bool> answered{false};
        std::thread apiThread([&] {
            reply = calls.handle({{"call", "tap"}, {"x", 10}, {"y", 10}});
            answered = true;
        });
        QTRY_VERIFY(answered.load());
        apiThread.join();
        QCOMPARE(reply.value("error").toString(),
                 QStringLiteral("no X display in this session, and no uinput device (open /dev/uinput: %1)")
                     .arg(reason));
        QSKIP("no writable /dev/uinput here: the kernel's device was not made");
    }
};

QTEST_GUILESS_MAIN(UinputInputTest)
#include "tst_uinput_input.moc"
