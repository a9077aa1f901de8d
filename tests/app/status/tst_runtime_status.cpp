// The status observers: their effect on the runtime status, their order, the change announcement,
// and a post from the command line reaching them over the bus.

#include "app/status/RuntimeStatusNotifier.h"
#include "app/status/channel.h"
#include "app/status/runtime_status.h"
#include "platform/notify/notify.h"

#include <QSignalSpy>
#include <QtTest>

using namespace brisko;

namespace {

using Callback = void (*)();

const QHash<QString, Callback>& callbacks() {
    static const QHash<QString, Callback> table = {
        {"connected", BKOnDebugConnected},
        {"disconnected", BKOnDebugDisconnected},
        {"alive", BKOnFloatballAlive},
        {"running", BKOnFloatballScriptRunning},
        {"stopped", BKOnFloatballScriptStopped},
        {"enabled", BKOnFloatballDebugEnabled},
        {"disabled", BKOnFloatballDebugDisabled},
    };
    return table;
}

void deliver(const QStringList& events) {
    for (const QString& event : events)
        callbacks().value(event)();
    QCoreApplication::processEvents();
}

} // namespace

class RuntimeStatusTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { resetRuntimeStatusForTesting(); }

    void callbacksUpdateTheStatus_data() {
        QTest::addColumn<bool>("enabledBefore");
        QTest::addColumn<bool>("connectedBefore");
        QTest::addColumn<QStringList>("events");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("status");

        const QString none;
        const auto row = [](const char* name, bool enabledBefore, bool connectedBefore, const char* events,
                            bool enabled, bool connected, const QString& status) {
            QTest::newRow(name) << enabledBefore << connectedBefore << QString(events).split(' ') << enabled
                                << connected << status;
        };
        row("alive only marks loaded", false, false, "alive", false, false, none);
        row("script running", true, true, "running", true, true, none);
        row("script stopped", false, true, "stopped", false, true, none);
        row("connected", false, false, "connected", false, true, "已连接");
        row("disconnected, service off", false, true, "disconnected", false, false, "已关闭");
        row("disconnected, service on", true, true, "disconnected", true, false, "等待连接...");
        row("enabled without client", false, false, "enabled", true, false, "等待连接...");
        row("enabled with client", false, true, "enabled", true, true, "已连接");
        row("disabled clears the client", true, true, "disabled", false, false, "已关闭");
        row("delivery order: connect then disable", true, false, "connected disabled", false, false,
            "已关闭");
        row("delivery order: disable then connect", true, false, "disabled connected", false, true, "已连接");
    }

    void callbacksUpdateTheStatus() {
        QFETCH(bool, enabledBefore);
        QFETCH(bool, connectedBefore);
        QFETCH(QStringList, events);
        _debugServiceEnabled = enabledBefore;
        _debugClientConnected = connectedBefore;
        _runtimeStatusRetryCount = 4;

        deliver(events);

        QVERIFY(_runtimeStatusLoaded);
        QCOMPARE(_runtimeStatusRetryCount, 0);
        QTEST(_debugServiceEnabled, "enabled");
        QTEST(_debugClientConnected, "connected");
        QFETCH(QString, status);
        QCOMPARE(_debugStatus.isNull(), status.isNull());
        QCOMPARE(_debugStatus, status);
    }

    void callbacksDeferToTheMainQueue() {
        BKOnDebugConnected();
        QVERIFY(!_debugClientConnected);
        QVERIFY(!_runtimeStatusLoaded);
        QCoreApplication::processEvents();
        QVERIFY(_debugClientConnected);
    }

    // Each callback announces once, after its update, so a refreshing screen sees the new state.
    void eachCallbackAnnouncesAfterItsUpdate() {
        QList<bool> loadedAtAnnouncement;
        auto connection = connect(RuntimeStatusNotifier::instance(), &RuntimeStatusNotifier::changed, this,
                                  [&] { loadedAtAnnouncement << _runtimeStatusLoaded; });
        deliver({"alive", "connected"});
        disconnect(connection);
        QCOMPARE(loadedAtAnnouncement, QList<bool>({true, true}));
    }

    void postFromTheCommandLineChangesTheStatus() {
        if (qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS")) QSKIP("needs the private system bus");
        BKAddDaemonObservers();
        QVERIFY(notify::waitUntilReady(3000));
        const int exitCode = QProcess::execute("dbus-send", {"--system", "--type=signal",
                                                             "/com/brisko/Notify", "com.brisko.Notify.Post",
                                                             "string:com.brisko.floatball.debug.enabled"});
        QCOMPARE(exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(_debugServiceEnabled, 3000);
        QCOMPARE(_debugStatus, QString("等待连接..."));
    }
};

QTEST_MAIN(RuntimeStatusTest)
#include "tst_runtime_status.moc"
