// The channel against a bus this test owns, so it can take the bus away and bring it back.

#include "platform/notify/notify.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace brisko;

namespace {
// A system bus on a socket of its own, from the same recipe as the shared test bus.
class OwnBus {
public:
    bool start(const QString& recipe) {
        daemon_ = std::make_unique<QProcess>();
        daemon_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        daemon_->start("dbus-daemon",
                       {"--config-file=" + recipe, "--address=" + address(), "--nofork", "--nopidfile"});
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

// What a dbus-send user types, so the receiving side is held to the documented wire format.
int postFromCommandLine(const QString& name) {
    QProcess process;
    process.start("dbus-send", {"--system", "--type=signal", "/com/brisko/Notify", "com.brisko.Notify.Post",
                                "string:" + name});
    process.waitForFinished(8000);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}
} // namespace

class NotifyOwnBusTest : public QObject {
    Q_OBJECT
    OwnBus bus_;
    QString recipe_;

private slots:
    void initTestCase() {
        recipe_ = qEnvironmentVariable("BRISKO_TEST_BUS_CONFIG");
        if (recipe_.isEmpty()) QSKIP("needs the bus recipe that scripts/test exports");
        QVERIFY(bus_.start(recipe_));
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().toUtf8()); // before the channel's first use
        QVERIFY(notify::waitUntilReady(5000));
    }

    void observerSurvivesBusRestart() {
        const QString name = "com.brisko.test.restart", late = "com.brisko.test.late",
                      marker = "com.brisko.test.marker";
        static std::atomic<int> received{0}, lateReceived{0}, markers{0}; // observers outlive this function
        notify::addObserver(name, [] { ++received; });
        notify::addObserver(marker, [] { ++markers; });
        QVERIFY(notify::waitUntilReady(5000));
        QCOMPARE(postFromCommandLine(name), 0);
        QTRY_COMPARE(received.load(), 1);

        bus_.stop();
        notify::post(name); // nowhere to go: dropped, never replayed
        notify::addObserver(late, [] { ++lateReceived; }); // while no bus is there
        QVERIFY(bus_.start(recipe_));
        QVERIFY(notify::waitUntilReady(10000));
        for (const QString& posted : {name, late, marker}) QCOMPARE(postFromCommandLine(posted), 0);
        QTRY_COMPARE(markers.load(), 1);
        QCOMPARE(received.load(), 2);
        QCOMPARE(lateReceived.load(), 1);
    }

    void cleanupTestCase() { bus_.stop(); }
};

QTEST_GUILESS_MAIN(NotifyOwnBusTest)
#include "tst_notify_own_bus.moc"
