// The real floatball from the bundle on the private bus, driven by the application's own code:
// the start/stop requests of the main screen, the ping, and the debug switch's requests.

#include "app/status/notification_names.h"
#include "main_screen/BKMainViewController.h"
#include "main_screen/script_control.h"
#include "platform/dispatch/dispatch.h"
#include "platform/notify/notify.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"
#include "tests/daemon/script_log_reading.h"

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko;

namespace {

const char* const kHeard[] = {names::kAlive,        names::kScriptRunning, names::kScriptStopped,
                              names::kDebugEnabled, names::kDebugDisabled, names::kDebugConnected};

// Counts lines, and remembers the child the script started, from its first lines.
const QByteArray kScript = "(while :; do sleep 1; done) &\necho child $!\n"
                           "i=0; while :; do echo $i; i=$((i+1)); sleep 0.02; done\n";

using testing::isRunning;
using testing::logLines;
using testing::numberLines;

QProcess* startDaemon(const QString& documents) {
    auto* daemon = new QProcess;
    daemon->setProgram(qEnvironmentVariable("BRISKO_BUNDLE_DIR") + "/floatball");
    daemon->setArguments({documents});
    QProcessEnvironment env; // as the application's spawn leaves it, plus the test's bus
    env.insert("DBUS_SYSTEM_BUS_ADDRESS", qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"));
    daemon->setProcessEnvironment(env);
    daemon->start();
    return daemon;
}

} // namespace

class FloatballTest : public QObject {
    Q_OBJECT

    QTemporaryDir documents_;
    std::unique_ptr<QProcess> daemon_;
    QStringList heard_;
    std::unique_ptr<ui::Window> window_;
    BKMainViewController* screen_ = nullptr;

    QString documents() const { return documents_.filePath("Documents"); }
    QString log() const { return documents() + "/script.log"; }

    void send(const QString& cmd, const QString& action) {
        heard_.clear();
        screen_->sendScriptControlCommand(cmd, action);
    }
    QString alert() const {
        ui::AlertController* alert = ui::AlertController::topPresented();
        return alert ? alert->title() + " " + alert->message() : QString();
    }
    QByteArray task(const QString& cmd) {
        QNetworkReply* reply = BKSharedURLSession()->get(QNetworkRequest(BKScriptControlURL(cmd)));
        (void)QTest::qWaitFor([reply] { return reply->isFinished(); }, 10000);
        reply->deleteLater();
        return reply->readAll();
    }

  private slots:
    void initTestCase() {
        for (const char* name : kHeard)
            notify::addObserver(name, [this, name] {
                dispatchMainAsync([this, name] { heard_ << QString::fromLatin1(name); });
            });
        QVERIFY(notify::waitUntilReady(5000));
        daemon_.reset(startDaemon(documents())); // it makes the missing folder itself
        QVERIFY(daemon_->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT((notify::post(names::kPing), heard_.contains(names::kAlive)), 10000);
        window_ = std::make_unique<ui::Window>();
        screen_ = new BKMainViewController;
        window_->setRootViewController(new ui::NavigationController(screen_));
        window_->makeKeyAndVisible();
    }

    void cleanupTestCase() {
        window_.reset();
        if (!daemon_) return;
        daemon_->terminate();
        QVERIFY(daemon_->waitForFinished(10000));
    }

    void pingIsAnsweredWithTheState() {
        heard_.clear();
        notify::post(names::kPing);
        QTRY_VERIFY(heard_.contains(names::kAlive) && heard_.contains(names::kScriptStopped) &&
                    heard_.contains(names::kDebugDisabled));
        QVERIFY(!heard_.contains(names::kScriptRunning) && !heard_.contains(names::kDebugEnabled));
    }

    void missingEntryPointIsShownToTheUser() {
        send("start", "启动");
        QTRY_COMPARE(alert(), QString("启动失败 未找到脚本入口 app/main"));
        QVERIFY(ui::AlertController::topPresented()->tapAction("确定"));
    }

    void startPauseResumeStop() {
        QVERIFY(QDir().mkpath(documents() + "/app"));
        QFile script(documents() + "/app/main.sh");
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write(kScript);
        script.close();

        send("start", "启动");
        QTRY_VERIFY(heard_.contains(names::kScriptRunning));
        QCOMPARE(alert(), QString());
        QTRY_VERIFY(numberLines(log()) >= 3);
        const qint64 child = logLines(log())[1].mid(6).toLongLong();
        QVERIFY(isRunning(child));

        QVERIFY(task("pause").contains("\"ok\": true"));
        QVERIFY(task("status").contains("paused"));
        QTest::qWait(100);
        const int paused = numberLines(log());
        QTest::qWait(300);
        QCOMPARE(numberLines(log()), paused);
        QVERIFY(task("resume").contains("\"ok\": true"));
        QTRY_VERIFY(numberLines(log()) > paused + 2);

        send("stop", "停止");
        QTRY_VERIFY(heard_.contains(names::kScriptStopped));
        QCOMPARE(alert(), QString());
        QVERIFY(logLines(log()).last().contains("脚本结束"));
        QTRY_VERIFY(!isRunning(child));
    }

    void debugRequestsFlipTheState() {
        heard_.clear();
        notify::post(names::kDebugEnableRequest);
        QTRY_VERIFY(heard_.contains(names::kDebugEnabled));
        heard_.clear();
        notify::post(names::kPing);
        QTRY_VERIFY(heard_.contains(names::kDebugEnabled));
        heard_.clear();
        notify::post(names::kDebugDisableRequest);
        QTRY_VERIFY(heard_.contains(names::kDebugDisabled));
    }

    void secondDaemonForTheSameFolderLeaves() {
        std::unique_ptr<QProcess> second(startDaemon(documents()));
        QVERIFY(second->waitForFinished(10000));
        QCOMPARE(second->exitCode(), 0);
        QCOMPARE(daemon_->state(), QProcess::Running);
        QVERIFY(task("status").contains("stopped"));
    }
};

QTEST_MAIN(FloatballTest)
#include "tst_floatball.moc"
