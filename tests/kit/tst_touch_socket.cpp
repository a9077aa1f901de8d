#include "kit/BKKit.h"
#include "kit/geometry_testing.h"
#include "kit/touch_socket.h"
#include "kit/touch_testing.h"
#include "platform/dispatch/dispatch.h"

#include <QtTest>

#include <limits>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace brisko;

namespace {

using Msgs = QList<InjectedTouchMessage>;

QByteArray wire(const InjectedTouchMessage& m, int extra = 0) {
    return QByteArray(reinterpret_cast<const char*>(&m), sizeof m) + QByteArray(extra, '\x7f');
}

// A datagram socket connected to path, or -1 with errno set.
int connectTo(const std::string& path) {
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    std::strncpy(a.sun_path, path.c_str(), sizeof a.sun_path - 1);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&a), sizeof a) == 0) return fd;
    ::close(fd); // leaves errno alone
    return -1;
}

bool sendOn(int fd, const QByteArray& bytes) {
    return ::send(fd, bytes.constData(), size_t(bytes.size()), 0) == bytes.size();
}

bool sendDatagram(const std::string& path, const QByteArray& bytes) {
    const int fd = connectTo(path);
    const bool sent = fd >= 0 && sendOn(fd, bytes);
    ::close(fd);
    return sent;
}

bool isOwnerOnlySocket(const std::string& path) {
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0 && S_ISSOCK(st.st_mode) && (st.st_mode & 0777) == 0600;
}

bool receiveThreadExists() {
    const QDir tasks("/proc/self/task");
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(task + "/comm"));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == "bk_touch_sock") return true;
    }
    return false;
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

} // namespace

Q_DECLARE_METATYPE(Msgs)

class TouchSocketTest : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;
    std::string path_;
    QStringList touches_;
    bool offMainThread_ = false;

    void record(int phase, double x, double y) {
        if (QThread::currentThread() != qApp->thread()) offMainThread_ = true;
        touches_ << QString("%1@%2,%3").arg(phase).arg(x, 0, 'g', 4).arg(y, 0, 'g', 4);
    }
    void startAndWait() {
        _startTouchSocket();
        QTRY_VERIFY(isOwnerOnlySocket(path_));
    }
    void send(const InjectedTouchMessage& m, int extra = 0) { QVERIFY(sendDatagram(path_, wire(m, extra))); }

  private slots:
    void initTestCase() {
        QVERIFY(dir_.isValid());
        path_ = dir_.filePath("touch.sock").toStdString();
        _touchSocketUsePath(path_);
        _touchMonitorUseDevices(dir_.filePath("no-devices"), _probeTouchscreen);
        _bkSetScreenForTesting({390, 844}, 2, 0);
        BKKit::startTouchMonitorWithCallback([this](int p, double x, double y) { record(p, x, y); });
    }
    void init() {
        touches_.clear();
        s_touchSockDown = false;
    }
    void cleanup() { _stopTouchSocket(); }

    void messagesBecomePhases_data() {
        QTest::addColumn<Msgs>("messages");
        QTest::addColumn<QStringList>("expected");
        const InjectedTouchMessage d1{10, 10, 1}, d2{20, 20, 1}, up{20, 20, 0};
        const QString at1 = "0.01282,0.005924", at2 = "0.02564,0.01185";
        QTest::newRow("down down up") << Msgs{d1, d2, up} << QStringList{"0@" + at1, "1@" + at2, "2@" + at2};
        QTest::newRow("two ups, one ended") << Msgs{d1, up, up} << QStringList{"0@" + at1, "2@" + at2};
        QTest::newRow("pixels through the scale") << Msgs{{390, 844, 1}} << QStringList{"0@0.5,0.5"};
        QTest::newRow("NaN, infinities and huge values change nothing")
            << Msgs{{kNaN, 10, 1}, {kInf, 10, 1}, {10, -kInf, 1}, {1e9f, 10, 1}, {10, -3.4e38f, 1}, d1}
            << QStringList{"0@" + at1};
        QTest::newRow("a hostile up keeps the finger down")
            << Msgs{d1, {kNaN, kNaN, 0}, d2} << QStringList{"0@" + at1, "1@" + at2};
    }
    void messagesBecomePhases() {
        QFETCH(Msgs, messages);
        QFETCH(QStringList, expected);
        for (const InjectedTouchMessage& m : messages)
            _handleInjectedTouchMessage(&m);
        bool drained = false; // everything queued before this has run once it does
        dispatchMainAsync([&drained] { drained = true; });
        QTRY_VERIFY(drained);
        QCOMPARE(touches_, expected);
    }

    void datagramsReachTheCallbackOnTheMainThread() {
        QVERIFY(QFile(QString::fromStdString(path_)).open(QIODevice::WriteOnly)); // stale file
        startAndWait();
        QVERIFY(receiveThreadExists());
        QVERIFY(sendDatagram(path_, wire({100, 100, 1}).left(8)));
        QVERIFY(sendDatagram(path_, QByteArray()));
        send({390, 844, 1}, 3); // 12 bytes: the tail is ignored
        send({0, 0, 0});
        QTRY_COMPARE(touches_, (QStringList{"0@0.5,0.5", "2@0,0"}));
        QVERIFY(!offMainThread_);
    }

    void stopEndsTheThreadAndRemovesTheSocket() {
        startAndWait();
        _startTouchSocket(); // already running: nothing happens
        _stopTouchSocket();
        QVERIFY(!QFile::exists(QString::fromStdString(path_)));
        QVERIFY(!receiveThreadExists());
        QVERIFY(!s_touchSockRunning);
        _stopTouchSocket(); // twice is harmless
    }

    // A child connects while still root, then sends as nobody; nobody may not connect at all.
    void othersAreRefused() {
        startAndWait();
        const pid_t child = ::fork();
        if (child == 0) {
            const int fd = connectTo(path_);
            if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(2);
            const bool sent = sendOn(fd, wire({100, 100, 1}));
            ::_exit(sent && connectTo(path_) < 0 && errno == EACCES ? 0 : 5);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        if (WEXITSTATUS(status) == 2) QSKIP("needs root to become another user");
        QCOMPARE(WEXITSTATUS(status), 0);
        send({390, 844, 1});
        QTRY_COMPARE(touches_, QStringList{"0@0.5,0.5"});
    }
};

QTEST_MAIN(TouchSocketTest)
#include "tst_touch_socket.moc"
