// The channel against a bus this test owns: the floatball handshake, and the bus going away.

#include "platform/notify/notify.h"
#include "tests/platform/notify/notify_test_support.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace brisko;
using namespace brisko::test;

namespace {

// A system bus on a socket of its own, from the same recipe as the shared test bus.
class OwnBus {
public:
    bool configure(const QString& recipe) {
        QFile in(recipe), out(dir_.filePath("bus.conf"));
        if (!in.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly)) return false;
        QString conf = QString::fromUtf8(in.readAll());
        conf.replace(QRegularExpression("<listen>[^<]*</listen>"), "<listen>unix:path=" + socket() + "</listen>");
        return out.write(conf.toUtf8()) > 0;
    }
    bool start() {
        daemon_ = std::make_unique<QProcess>();
        daemon_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        daemon_->start("dbus-daemon", {"--config-file=" + dir_.filePath("bus.conf"), "--nofork", "--nopidfile"});
        for (int i = 0; i < 100 && !QFile::exists(socket()); ++i) QThread::msleep(20);
        return QFile::exists(socket());
    }
    void stop() {
        daemon_->terminate();
        daemon_->waitForFinished(5000);
        QFile::remove(socket());
    }
    QString address() const { return "unix:path=" + socket(); }

private:
    QString socket() const { return dir_.filePath("bus_socket"); }
    QTemporaryDir dir_;
    std::unique_ptr<QProcess> daemon_;
};

QJsonObject readRecord(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

} // namespace

class NotifyOwnBusTest : public QObject {
    Q_OBJECT
    OwnBus bus_;

private slots:
    void initTestCase() {
        const QString recipe = qEnvironmentVariable("BRISKO_TEST_BUS_CONFIG");
        if (recipe.isEmpty()) QSKIP("needs the bus recipe that scripts/test exports");
        QVERIFY(bus_.configure(recipe));
        QVERIFY(bus_.start());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().toUtf8()); // before the channel's first use
        QVERIFY(notify::waitUntilReady(5000));
    }

    // Registration before the ping: an immediate answer must not slip past.
    void floatballHandshake_data() {
        QTest::addColumn<bool>("silent");
        QTest::newRow("answering") << false;
        QTest::newRow("silent") << true;
    }
    void floatballHandshake() {
        QFETCH(bool, silent);
        QTemporaryDir docs;
        QFile conf(docs.filePath("fake_floatball.conf"));
        QVERIFY(conf.open(QIODevice::WriteOnly));
        conf.write("bus=" + bus_.address().toUtf8() + "\nlifetime_ms=10000\nsilent=" + (silent ? "1" : "0") + "\n");
        conf.close();
        QProcess daemon;
        daemon.setProcessEnvironment(QProcessEnvironment()); // as the launch starts it
        daemon.start(testBinary("fake_floatball"), {docs.path()});
        const QString recordPath = docs.filePath("fake_floatball.record");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(recordPath), 5000);

        auto alive = std::make_shared<QSemaphore>();
        notify::Token token = 0;
        QCOMPARE(notify::registerDispatch("com.brisko.floatball.alive", [alive](notify::Token) { alive->release(); }, &token), 0);
        notify::post("com.brisko.floatball.ping");
        QCOMPARE(alive->tryAcquire(1, silent ? 300 : 2000), !silent);
        notify::cancel(token);

        QTRY_COMPARE(readRecord(recordPath).value("pings").toInt(), 1);
        const QJsonObject record = readRecord(recordPath);
        QCOMPARE(record.value("argv").toArray(), QJsonArray({testBinary("fake_floatball"), docs.path()}));
        QCOMPARE(record.value("env").toArray(), QJsonArray());
    }

    void observerSurvivesBusRestart() {
        const QString name = "com.brisko.test.restart", lateName = "com.brisko.test.restart.late",
                      marker = "com.brisko.test.restart.marker";
        static std::atomic<int> received{0}, markers{0}; // observers outlive this function
        notify::addObserver(name, [] { ++received; });
        notify::addObserver(marker, [] { ++markers; });
        QVERIFY(notify::waitUntilReady(5000));
        QCOMPARE(postFromCommandLine(name), 0);
        QTRY_COMPARE(received.load(), 1);

        bus_.stop();
        notify::post(name); // nowhere to go: dropped, never replayed
        static std::atomic<int> lateReceived{0};
        notify::addObserver(lateName, [] { ++lateReceived; }); // while no bus is there
        QVERIFY(bus_.start());
        QVERIFY(notify::waitUntilReady(10000));
        QCOMPARE(postFromCommandLine(name), 0);
        QCOMPARE(postFromCommandLine(lateName), 0);
        QCOMPARE(postFromCommandLine(marker), 0);
        QTRY_COMPARE(markers.load(), 1);
        QCOMPARE(received.load(), 2);
        QCOMPARE(lateReceived.load(), 1);
    }

    void cleanupTestCase() { bus_.stop(); }
};

QTEST_GUILESS_MAIN(NotifyOwnBusTest)
#include "tst_notify_own_bus.moc"
