// The channel against a bus this test owns, so it can take the bus away and bring it back.

#include "platform/notify/notify.h"

#include <QtTest>

#include <atomic>
#include <memory>

using namespace brisko;

namespace {
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

    // A system bus on a socket of its own, from the same recipe as the shared test bus.
    QTemporaryDir dir_;
    const QString socket_ = dir_.filePath("bus_socket");
    QString recipe_;
    std::unique_ptr<QProcess> bus_;

    bool startBus() {
        bus_ = std::make_unique<QProcess>();
        bus_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        bus_->start("dbus-daemon", {"--config-file=" + recipe_, "--address=unix:path=" + socket_, "--nofork",
                                    "--nopidfile"});
        for (int i = 0; i < 100 && !QFile::exists(socket_); ++i)
            QThread::msleep(20);
        return QFile::exists(socket_);
    }
    void stopBus() {
        bus_->terminate();
        bus_->waitForFinished(5000);
        QFile::remove(socket_);
    }

  private slots:
    void initTestCase() {
        recipe_ = qEnvironmentVariable("BRISKO_TEST_BUS_CONFIG");
        if (recipe_.isEmpty()) QSKIP("needs the bus recipe that scripts/test exports");
        QVERIFY(startBus());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + QFile::encodeName(socket_)); // before first use
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

        stopBus();
        notify::post(name);                                // nowhere to go: dropped, never replayed
        notify::addObserver(late, [] { ++lateReceived; }); // while no bus is there
        QVERIFY(startBus());
        QVERIFY(notify::waitUntilReady(10000));
        for (const QString& posted : {name, late, marker})
            QCOMPARE(postFromCommandLine(posted), 0);
        QTRY_COMPARE(markers.load(), 1);
        QCOMPARE(received.load(), 2);
        QCOMPARE(lateReceived.load(), 1);
    }

    void cleanupTestCase() {
        if (bus_) stopBus();
    }
};

QTEST_GUILESS_MAIN(NotifyOwnBusTest)
#include "tst_notify_own_bus.moc"
