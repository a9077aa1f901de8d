// The daemon decision at launch, end to end: a fake daemon in a temporary bundle, started through
// the real root spawn, answering pings over the private system bus.

#include "app/launch/launch.h"
#include "app/status/channel.h"
#include "app/status/notification_names.h"
#include "kit/BKKit.h"
#include "platform/bundle/bundle.h"
#include "platform/notify/notify.h"
#include "tests/support/test_files.h"

#include <QtTest>

#include <atomic>
#include <csignal>

using namespace brisko;
using namespace brisko::testing;

namespace {

std::atomic<int> s_pings{0};
int s_spawns = 0;

int countingSpawner(const QString& path, const QStringList& arguments) {
    ++s_spawns;
    return BKKit::spawnAsRoot(path, arguments);
}

QString fakeDaemonBinary() {
    return qEnvironmentVariable("BRISKO_TEST_BIN_DIR") + "/fake_floatball";
}

QJsonObject readRecord(const QString& path) {
    return QJsonDocument::fromJson(readFile(path)).object();
}

} // namespace

class LaunchTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_bundle;
    QString m_docs;

    QString recordPath() const { return m_docs + "/fake_floatball.record"; }

    void writeDaemonConfig(bool silent) {
        QVERIFY(writeFile(m_docs + "/fake_floatball.conf",
                          "bus=" + qgetenv("DBUS_SYSTEM_BUS_ADDRESS") +
                              "\nlifetime_ms=8000\nsilent=" + (silent ? "1" : "0")));
    }

    void stopDaemon() {
        const int pid = readRecord(recordPath()).value("pid").toInt();
        if (pid > 0) ::kill(pid, SIGTERM);
        QFile::remove(recordPath());
    }

    // Starts the fake daemon by hand and waits until it observes pings.
    void startDaemon(const QString& program, bool silent) {
        writeDaemonConfig(silent);
        QVERIFY(QProcess::startDetached(program, {m_docs}));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(recordPath()), 5000);
    }

    // Waits until the pings of one launch are on the bus and seen by our observer.
    int pingsAfter(int before) {
        QTest::qWait(300);
        return s_pings - before;
    }

  private slots:
    void initTestCase() {
        if (qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS")) QSKIP("needs the private system bus");
        bundle::enableTestMode();
        bundle::setBundlePathForTesting(m_bundle.path());
        m_docs = BKDocumentsDirectory();
        QDir(m_docs).removeRecursively();
        QVERIFY(QDir().mkpath(m_docs));
        notify::addObserver(names::kPing, [] { ++s_pings; });
        QVERIFY(notify::waitUntilReady(3000));
        BKSetDaemonSpawnerForTesting(countingSpawner);
    }

    void cleanup() {
        stopDaemon();
        QFile::remove(m_bundle.filePath("floatball"));
        BKSetApplicationInBackground(false);
    }

    void decisionTable_data() {
        QTest::addColumn<bool>("daemonPresent");
        QTest::addColumn<bool>("background");
        QTest::addColumn<bool>("marker");
        QTest::addColumn<bool>("started");
        QTest::addColumn<QStringList>("extraArguments");

        QTest::newRow("no daemon file") << false << false << true << false << QStringList{};
        QTest::newRow("foreground") << true << false << false << true << QStringList{};
        QTest::newRow("foreground with marker") << true << false << true << true << QStringList{};
        QTest::newRow("boot launch without marker") << true << true << false << false << QStringList{};
        QTest::newRow("boot launch with marker") << true << true << true << true << QStringList{"--autorun"};
    }

    void decisionTable() {
        QFETCH(bool, daemonPresent);
        QFETCH(bool, background);
        QFETCH(bool, marker);
        QFETCH(bool, started);
        QFETCH(QStringList, extraArguments);
        writeDaemonConfig(false);
        QFile::remove(BKBootAutostartMarkerPath());
        if (marker) QVERIFY(writeFile(BKBootAutostartMarkerPath(), "1"));
        if (daemonPresent) QVERIFY(QFile::copy(fakeDaemonBinary(), m_bundle.filePath("floatball")));
        BKSetApplicationInBackground(background);
        s_spawns = 0;
        const int before = s_pings;

        BKStartBriskoServices();

        QCOMPARE(s_spawns, started ? 1 : 0);
        QCOMPARE(pingsAfter(before), started ? 2 : 0);
        if (!started) return;
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(recordPath()), 5000);
        const QJsonObject record = readRecord(recordPath());
        QCOMPARE(
            record["argv"].toArray(),
            QJsonArray::fromStringList(QStringList{m_bundle.filePath("floatball"), m_docs} + extraArguments));
        QVERIFY(record["env"].toArray().isEmpty());
    }

    void runningDaemonIsNotStartedAgain() {
        QVERIFY(QFile::copy(fakeDaemonBinary(), m_bundle.filePath("floatball")));
        startDaemon(m_bundle.filePath("floatball"), false);
        s_spawns = 0;
        const int before = s_pings;

        BKStartBriskoServices();

        QCOMPARE(s_spawns, 0);
        QCOMPARE(pingsAfter(before), 2);
    }

    void aliveWaitTimesOutWithoutAnswer() {
        startDaemon(fakeDaemonBinary(), true);
        QVERIFY(!BKWaitForFloatballAlive(0.2));
        // A late answer is ignored and does not satisfy the next wait.
        notify::post(names::kAlive);
        QTest::qWait(100);
        QVERIFY(!BKWaitForFloatballAlive(0.05));
    }

    void aliveWaitSucceedsWithADaemon() {
        startDaemon(fakeDaemonBinary(), false);
        QVERIFY(BKWaitForFloatballAlive(2.0));
    }
};

QTEST_MAIN(LaunchTest)
#include "tst_launch.moc"
