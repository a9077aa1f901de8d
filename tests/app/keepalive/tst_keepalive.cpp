#include "fake_logind.h"

#include "app/install/display_name.h"
#include "app/keepalive/keepalive.h"
#include "app/keepalive/silent_wav.h"
#include "platform/audio/audio_session.h"
#include "platform/audio/looping_player.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>
#include <QGuiApplication>
#include <QPointer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace brisko;
using audio::InterruptionType;

namespace {

// Anyone may own any name: the fake needs logind's.
const char* const kBusConfig = R"(<busconfig>
  <type>system</type>
  <listen>unix:path=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
)";

QByteArray le16(quint16 v) {
    QByteArray b(2, '\0');
    qToLittleEndian(v, b.data());
    return b;
}

QByteArray le32(quint32 v) {
    QByteArray b(4, '\0');
    qToLittleEndian(v, b.data());
    return b;
}

audio::LoopingPlayer* player() { return const_cast<audio::LoopingPlayer*>(BKDebugKeepAlivePlayer()); }

void fire(const QString& trigger) {
    static const QHash<QString, Qt::ApplicationState> states{{"hidden", Qt::ApplicationHidden},
                                                             {"suspended", Qt::ApplicationSuspended},
                                                             {"active", Qt::ApplicationActive},
                                                             {"inactive", Qt::ApplicationInactive}};
    if (trigger == "start") BKStartDebugAudioKeepAlive();
    if (trigger == "install") BKInstallDebugAudioKeepAlive();
    if (states.contains(trigger)) emit qGuiApp->applicationStateChanged(states[trigger]);
    if (trigger == "interruption began") audio::AudioSession::shared().postInterruption(InterruptionType::Began);
    if (trigger == "interruption ended") audio::AudioSession::shared().postInterruption(InterruptionType::Ended);
    if (trigger == "media reset") audio::AudioSession::shared().postMediaServicesReset();
}

} // namespace

class TestKeepAlive : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init() { debugOn_ = true; }
    void cleanup();
    void silentWav_data();
    void silentWav();
    void startTwiceKeepsOnePlayerAndOneLock();
    void nothingHappensWhileDebugIsOff_data();
    void nothingHappensWhileDebugIsOff();
    void stopThenStartBuildsAfresh();
    void observersRestartPlayback_data();
    void observersRestartPlayback();
    void mediaResetRebuildsPlayer();
    void stopBeforeLogindAnswersDropsTheLock();
    void noLogindStillPlays();

private:
    QTemporaryDir busDir_;
    QProcess bus_;
    FakeLogind logind_;
    QDBusConnection fakeBus_{QString()};
    bool debugOn_ = true;
};

void TestKeepAlive::initTestCase() {
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
    QVERIFY(fakeBus_.isConnected());
    QVERIFY(fakeBus_.registerService("org.freedesktop.login1"));
    QVERIFY(fakeBus_.registerObject("/org/freedesktop/login1", &logind_, QDBusConnection::ExportAllSlots));

    BKSetDebugServiceEnabledProvider([this] { return debugOn_; });
    debugOn_ = false;
    BKInstallDebugAudioKeepAlive();
}

void TestKeepAlive::cleanupTestCase() {
    fakeBus_ = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus("fake-logind");
    bus_.terminate();
    bus_.waitForFinished();
}

// A ping behind the test's requests comes back after logind has seen them all, so no request
// of this test is counted in the next one.
void TestKeepAlive::cleanup() {
    BKStopDebugAudioKeepAlive();
    const QDBusPendingCall ping = QDBusConnection::systemBus().asyncCall(QDBusMessage::createMethodCall(
        "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.DBus.Peer", "Ping"));
    QTRY_VERIFY(ping.isFinished());
    QTRY_VERIFY(!logind_.lockHeldElsewhere());
    QVERIFY(!BKDebugKeepAliveHoldsSleepLock());
    logind_.calls = 0;
}

void TestKeepAlive::silentWav_data() {
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("chunk identifier") << 0 << QByteArray("RIFF");
    QTest::newRow("chunk size") << 4 << le32(64036);
    QTest::newRow("format") << 8 << QByteArray("WAVE");
    QTest::newRow("fmt identifier") << 12 << QByteArray("fmt ");
    QTest::newRow("fmt size") << 16 << le32(16);
    QTest::newRow("linear PCM") << 20 << le16(1);
    QTest::newRow("channels") << 22 << le16(1);
    QTest::newRow("sample rate") << 24 << le32(16000);
    QTest::newRow("byte rate") << 28 << le32(32000);
    QTest::newRow("block alignment") << 32 << le16(2);
    QTest::newRow("bits per sample") << 34 << le16(16);
    QTest::newRow("data identifier") << 36 << QByteArray("data");
    QTest::newRow("data size") << 40 << le32(64000);
    QTest::newRow("samples") << 44 << QByteArray(64000, '\0');
}

void TestKeepAlive::silentWav() {
    QFETCH(int, offset);
    QFETCH(QByteArray, expected);
    const QByteArray wav = BKCreateSilentWAVData();
    QCOMPARE(wav.size(), 64044);
    QCOMPARE(wav.mid(offset, expected.size()), expected);
}

void TestKeepAlive::startTwiceKeepsOnePlayerAndOneLock() {
    BKStartDebugAudioKeepAlive();
    const audio::LoopingPlayer* first = BKDebugKeepAlivePlayer();
    QVERIFY(first && first->isPlaying());
    QCOMPARE(first->volume(), 0.0f);
    QCOMPARE(first->numberOfLoops(), -1);
    BKStartDebugAudioKeepAlive();
    QCOMPARE(BKDebugKeepAlivePlayer(), first);
    QVERIFY(first->isPlaying());
    QTRY_VERIFY(logind_.lockHeldElsewhere());
    BKStartDebugAudioKeepAlive();
    QTest::qWait(50);
    QCOMPARE(logind_.calls, 1);
    const QStringList expected{"sleep:idle", BKApplicationDisplayName(), "debug mode", "block"};
    QCOMPARE(logind_.lastArguments, expected);
}

void TestKeepAlive::nothingHappensWhileDebugIsOff_data() {
    QTest::addColumn<QString>("trigger");
    for (const char* trigger : {"start", "install", "hidden", "suspended", "active", "interruption ended", "media reset"})
        QTest::newRow(trigger) << QString(trigger);
}

void TestKeepAlive::nothingHappensWhileDebugIsOff() {
    QFETCH(QString, trigger);
    debugOn_ = false;
    fire(trigger);
    QTest::qWait(50);
    QVERIFY(!BKDebugKeepAlivePlayer());
    QVERIFY(BKDebugKeepAliveAudioData().isNull());
    QVERIFY(!BKDebugKeepAliveHoldsSleepLock());
    QCOMPARE(logind_.calls, 0);
}

void TestKeepAlive::stopThenStartBuildsAfresh() {
    BKStartDebugAudioKeepAlive();
    QPointer<audio::LoopingPlayer> oldPlayer = player();
    const QByteArray oldData = BKDebugKeepAliveAudioData(); // keeps the old buffer alive
    QTRY_VERIFY(logind_.lockHeldElsewhere());

    BKStopDebugAudioKeepAlive();
    QVERIFY(!oldPlayer);
    QVERIFY(BKDebugKeepAliveAudioData().isNull());
    QTRY_VERIFY(!logind_.lockHeldElsewhere());

    BKStartDebugAudioKeepAlive();
    QVERIFY(player() && player()->isPlaying());
    QVERIFY(BKDebugKeepAliveAudioData().constData() != oldData.constData());
    QCOMPARE(BKDebugKeepAliveAudioData(), oldData);
    QTRY_VERIFY(logind_.lockHeldElsewhere());
    QCOMPARE(logind_.calls, 2);
}

void TestKeepAlive::observersRestartPlayback_data() {
    QTest::addColumn<QString>("trigger");
    QTest::addColumn<bool>("restarts");
    QTest::newRow("interruption ended") << "interruption ended" << true;
    QTest::newRow("interruption began") << "interruption began" << false;
    QTest::newRow("entered background") << "hidden" << true;
    QTest::newRow("suspended") << "suspended" << true;
    QTest::newRow("back in foreground") << "active" << true;
    QTest::newRow("lost focus") << "inactive" << false;
}

// The platform stopped the player behind the keep-alive's back; which events bring it back?
void TestKeepAlive::observersRestartPlayback() {
    QFETCH(QString, trigger);
    QFETCH(bool, restarts);
    BKStartDebugAudioKeepAlive();
    audio::LoopingPlayer* stopped = player();
    stopped->pause();
    fire(trigger);
    QCOMPARE(player(), stopped);
    QCOMPARE(stopped->isPlaying(), restarts);
}

void TestKeepAlive::mediaResetRebuildsPlayer() {
    BKStartDebugAudioKeepAlive();
    QPointer<audio::LoopingPlayer> oldPlayer = player();
    const QByteArray oldData = BKDebugKeepAliveAudioData();
    fire("media reset");
    QVERIFY(!oldPlayer);
    QVERIFY(player() && player()->isPlaying());
    QVERIFY(BKDebugKeepAliveAudioData().constData() != oldData.constData());
}

// The answer arrives after the stop: its descriptor must be closed, not kept.
void TestKeepAlive::stopBeforeLogindAnswersDropsTheLock() {
    BKStartDebugAudioKeepAlive();
    BKStopDebugAudioKeepAlive();
    QTRY_COMPARE(logind_.calls, 1);
    QTRY_VERIFY(!logind_.lockHeldElsewhere());
    QTest::qWait(50);
    QVERIFY(!BKDebugKeepAliveHoldsSleepLock());
}

void TestKeepAlive::noLogindStillPlays() {
    QVERIFY(fakeBus_.unregisterService("org.freedesktop.login1"));
    BKStartDebugAudioKeepAlive();
    QVERIFY(player() && player()->isPlaying());
    QTRY_VERIFY(!BKDebugKeepAliveHoldsSleepLock()); // the failed request is over
    QCOMPARE(logind_.calls, 0);
    QVERIFY(fakeBus_.registerService("org.freedesktop.login1"));
}

QTEST_MAIN(TestKeepAlive)
#include "tst_keepalive.moc"
