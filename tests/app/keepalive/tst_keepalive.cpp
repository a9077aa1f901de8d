#include "app/install/display_name.h"
#include "app/keepalive/keepalive.h"
#include "app/keepalive/silent_wav.h"
#include "platform/audio/AudioSession.h"
#include "platform/audio/LoopingPlayer.h"
#include "platform/audio/wav.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusUnixFileDescriptor>
#include <QGuiApplication>
#include <QtTest>

#include <poll.h>
#include <unistd.h>

using namespace brisko;
using audio::InterruptionType;

namespace {

// Anyone may own any name: the fake needs logind's.
const char* const kBusConfig =
    R"(<busconfig><type>system</type><listen>unix:path=%1</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
<allow receive_sender="*"/></policy></busconfig>)";

audio::LoopingPlayer* player() {
    return const_cast<audio::LoopingPlayer*>(BKDebugKeepAlivePlayer());
}

void fire(const QString& trigger) {
    audio::AudioSession& session = audio::AudioSession::shared();
    if (trigger == "start") BKStartDebugAudioKeepAlive();
    if (trigger == "install") BKInstallDebugAudioKeepAlive();
    if (trigger == "hidden") emit qGuiApp->applicationStateChanged(Qt::ApplicationHidden);
    if (trigger == "active") emit qGuiApp->applicationStateChanged(Qt::ApplicationActive);
    if (trigger == "inactive") emit qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
    if (trigger == "interruption began") session.postInterruption(InterruptionType::Began);
    if (trigger == "interruption ended") session.postInterruption(InterruptionType::Ended);
    if (trigger == "media reset") session.postMediaServicesReset();
}

} // namespace

// logind's Manager on a private bus. The lock handed out is one end of a pipe, so the other
// end tells whether it is still open anywhere.
class FakeLogind : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
    int readEnd_ = -1;
    void closeLock() {
        if (readEnd_ >= 0) ::close(readEnd_);
        readEnd_ = -1;
    }

  public:
    ~FakeLogind() override { closeLock(); }
    int calls = 0;
    QStringList lastArguments;
    bool lockHeld() const {
        pollfd fd{readEnd_, POLLIN, 0};
        return readEnd_ >= 0 && ::poll(&fd, 1, 0) == 0;
    }

  public slots:
    // Answered in order after every call sent before it (a Peer ping is answered earlier, off the
    // main thread), so a test knows all its calls were counted.
    void Fence() {}
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why,
                                    const QString& mode) {
        ++calls;
        lastArguments = {what, who, why, mode};
        closeLock();
        int ends[2];
        if (::pipe(ends) != 0) return {};
        readEnd_ = ends[0];
        QDBusUnixFileDescriptor lock(ends[1]); // keeps a duplicate
        ::close(ends[1]);
        return lock;
    }
};

class TestKeepAlive : public QObject {
    Q_OBJECT
    QTemporaryDir busDir_;
    QProcess bus_;
    FakeLogind logind_;
    QDBusConnection fakeBus_{QString()};
    bool debugOn_ = true;

  private slots:
    void initTestCase() {
        const QString socket = busDir_.filePath("bus");
        QFile config(busDir_.filePath("bus.conf"));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write(QString::fromLatin1(kBusConfig).arg(socket).toUtf8());
        config.close();
        bus_.start("dbus-daemon", {"--config-file=" + config.fileName(), "--nofork", "--nopidfile"});
        QVERIFY2(bus_.waitForStarted(), "dbus-daemon is needed");
        QTRY_VERIFY(QFile::exists(socket));
        const QString address = "unix:path=" + socket;
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8()); // before anything opens the system bus
        fakeBus_ = QDBusConnection::connectToBus(address, "fake-logind");
        QVERIFY(fakeBus_.registerService("org.freedesktop.login1"));
        QVERIFY(
            fakeBus_.registerObject("/org/freedesktop/login1", &logind_, QDBusConnection::ExportAllSlots));
        BKSetDebugServiceEnabledProvider([this] { return debugOn_; });
        debugOn_ = false;
        BKInstallDebugAudioKeepAlive();
    }
    void cleanupTestCase() {
        fakeBus_ = QDBusConnection(QString());
        QDBusConnection::disconnectFromBus("fake-logind");
        bus_.terminate();
        bus_.waitForFinished();
    }
    void init() { debugOn_ = true; }
    // A fence behind the test's requests returns once logind has seen them all, so none of them
    // is counted in the next test.
    void cleanup() {
        BKStopDebugAudioKeepAlive();
        const QDBusPendingCall ping = QDBusConnection::systemBus().asyncCall(QDBusMessage::createMethodCall(
            "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Fence"));
        QTRY_VERIFY(ping.isFinished());
        QTRY_VERIFY(!logind_.lockHeld());
        QVERIFY(!BKDebugKeepAliveHoldsSleepLock());
        logind_.calls = 0;
    }

    // Only our own player reads it, so what it reads is what counts: a sound, and a silent one.
    void silentWavIsReadableSilence() {
        const auto sound = audio::readWav(BKCreateSilentWAVData());
        QVERIFY(sound && sound->format.sampleFormat() == QAudioFormat::Int16 && !sound->samples.isEmpty());
        QCOMPARE(sound->samples, QByteArray(sound->samples.size(), '\0'));
    }

    // Start twice: one player, one lock. Stop, then start: a fresh buffer, player and lock.
    void startStopStart() {
        BKStartDebugAudioKeepAlive();
        QPointer<audio::LoopingPlayer> first = player();
        const QByteArray firstData = BKDebugKeepAliveAudioData(); // keeps the old buffer alive
        QVERIFY(first && first->isPlaying());
        QCOMPARE(first->volume(), 0.0f);
        QCOMPARE(first->numberOfLoops(), -1);
        BKStartDebugAudioKeepAlive(); // while logind has not answered yet
        QCOMPARE(player(), first.data());
        QTRY_VERIFY(logind_.lockHeld());
        BKStartDebugAudioKeepAlive(); // and after
        QTest::qWait(50);
        QCOMPARE(logind_.calls, 1);
        const QStringList expected{"sleep:idle", BKApplicationDisplayName(), "debug mode", "block"};
        QCOMPARE(logind_.lastArguments, expected);

        BKStopDebugAudioKeepAlive();
        QVERIFY(!first);
        QVERIFY(BKDebugKeepAliveAudioData().isNull());
        QTRY_VERIFY(!logind_.lockHeld());
        BKStartDebugAudioKeepAlive();
        QVERIFY(player() && player()->isPlaying());
        QVERIFY(BKDebugKeepAliveAudioData().constData() != firstData.constData());
        QTRY_VERIFY(logind_.lockHeld());
        QCOMPARE(logind_.calls, 2);
    }

    // Nothing happens while debug mode is off. Once on, the platform stops the player behind the
    // keep-alive's back: which events bring it back?
    void triggers_data() {
        QTest::addColumn<QString>("trigger");
        QTest::addColumn<bool>("playing");
        QTest::addColumn<bool>("rebuilt");                   // a fresh player on a fresh buffer
        QTest::newRow("start") << "start" << false << false; // off only
        QTest::newRow("install") << "install" << false << false;
        QTest::newRow("interruption ended") << "interruption ended" << true << false;
        QTest::newRow("interruption began") << "interruption began" << false << false;
        QTest::newRow("entered background") << "hidden" << true << false;
        QTest::newRow("back in foreground") << "active" << true << false;
        QTest::newRow("lost focus") << "inactive" << false << false;
        QTest::newRow("media services reset") << "media reset" << true << true;
    }
    void triggers() {
        QFETCH(QString, trigger);
        QFETCH(bool, rebuilt);
        debugOn_ = false;
        fire(trigger);
        QTest::qWait(50);
        QVERIFY(!BKDebugKeepAlivePlayer() && BKDebugKeepAliveAudioData().isNull());
        QCOMPARE(logind_.calls, 0);
        if (trigger == "start" || trigger == "install") return;

        debugOn_ = true;
        BKStartDebugAudioKeepAlive();
        QPointer<audio::LoopingPlayer> stopped = player();
        const QByteArray oldData = BKDebugKeepAliveAudioData();
        stopped->pause();
        fire(trigger);
        QCOMPARE(stopped.isNull(), rebuilt);
        QCOMPARE(BKDebugKeepAliveAudioData().constData() != oldData.constData(), rebuilt);
        QVERIFY(player());
        QTEST(player()->isPlaying(), "playing");
    }

    // The answer arrives after the stop: its descriptor must be closed, not kept.
    void stopBeforeLogindAnswersDropsTheLock() {
        BKStartDebugAudioKeepAlive();
        BKStopDebugAudioKeepAlive();
        QTRY_COMPARE(logind_.calls, 1);
        QTRY_VERIFY(!logind_.lockHeld());
        QTest::qWait(50);
        QVERIFY(!BKDebugKeepAliveHoldsSleepLock());
    }

    void noLogindStillPlays() {
        QVERIFY(fakeBus_.unregisterService("org.freedesktop.login1"));
        BKStartDebugAudioKeepAlive();
        QVERIFY(player() && player()->isPlaying());
        QTRY_VERIFY(!BKDebugKeepAliveHoldsSleepLock()); // the failed request is over
        QVERIFY(fakeBus_.registerService("org.freedesktop.login1"));
    }
};

QTEST_MAIN(TestKeepAlive)
#include "tst_keepalive.moc"
