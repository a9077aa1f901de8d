// The start/stop bar: how the daemon's replies read, and a request through a local HTTP server.

#include "app/feedback/feedback.h"
#include "app/status/runtime_status.h"
#include "main_screen/BKMainViewController.h"
#include "main_screen/script_control.h"
#include "platform/ui/alertcontroller.h"
#include "platform/ui/navigationcontroller.h"
#include "platform/ui/window.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace brisko;

namespace {

class PrivilegedScreen : public BKMainViewController {
public:
    QStringList posts;
protected:
    void postNotification(const QString& name) override { posts << name; }
    bool isPrivilegedInstall() const override { return true; }
};

// Answers every request with one canned HTTP reply and remembers the request lines.
class FakeDaemon : public QTcpServer {
public:
    QByteArray reply;
    QStringList requestLines;
    FakeDaemon() {
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                requestLines << QString::fromLatin1(socket->readLine()).trimmed();
                socket->write(reply);
                socket->disconnectFromHost();
            });
        });
    }
};

QByteArray httpReply(int status, const QByteArray& body) {
    return QByteArray("HTTP/1.1 ") + QByteArray::number(status) + " X\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

QQuickItem* findItem(QQuickItem* root, const QString& name) {
    for (QQuickItem* child : root->childItems()) {
        if (child->objectName() == name) return child;
        if (QQuickItem* found = findItem(child, name)) return found;
    }
    return nullptr;
}

} // namespace

class ScriptControlTest : public QObject {
    Q_OBJECT

private slots:
    void outcome_data() {
        QTest::addColumn<QString>("transportError");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("sent");
        QTest::addColumn<QString>("message"); // the toast, or the alert's message ("<default>" when null)
        const QString none;
        QTest::newRow("empty body") << none << 200 << QByteArray() << true << "已发送启动指令";
        QTest::newRow("ok true") << none << 200 << QByteArray(R"({"ok":true})") << true << "已发送启动指令";
        QTest::newRow("array") << none << 200 << QByteArray("[false]") << true << "已发送启动指令";
        QTest::newRow("not JSON") << none << 200 << QByteArray("started") << true << "已发送启动指令";
        QTest::newRow("empty object") << none << 200 << QByteArray("{}") << false << "<default>";
        QTest::newRow("ok false with error") << none << 200 << QByteArray(R"({"ok":false,"error":"脚本不存在"})")
                                             << false << "脚本不存在";
        QTest::newRow("error not text") << none << 200 << QByteArray(R"({"ok":0,"error":{"a":1}})") << false
                                        << "<default>";
        QTest::newRow("404") << none << 404 << QByteArray(R"({"ok":true})") << false << "接口返回状态码 404";
        QTest::newRow("not HTTP") << none << 0 << QByteArray() << false << "接口返回状态码 0";
        QTest::newRow("refused") << "Connection refused" << 0 << QByteArray() << false << "Connection refused";
    }
    void outcome() {
        QFETCH(QString, transportError);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, sent);
        QFETCH(QString, message);
        const BKScriptControlOutcome outcome = BKScriptControlOutcomeFor("启动", transportError, status, body);
        QCOMPARE(outcome.sent, sent);
        if (sent) {
            QCOMPARE(outcome.toast, message);
            return;
        }
        QCOMPARE(outcome.alertTitle, QString("启动失败"));
        QCOMPARE(outcome.alertMessage.isNull() ? QString("<default>") : outcome.alertMessage, message);
    }

    void okMemberReadsAsABoolean_data() {
        QTest::addColumn<QByteArray>("ok");
        QTest::addColumn<bool>("value");
        const std::pair<const char*, bool> cases[] = {
            {"true", true},     {"false", false},   {"1", true},       {"0", false},     {"-2.5", true},
            {"\"YES\"", true},  {"\"true\"", true}, {"\" +007\"", true}, {"\"000\"", false}, {"\"no\"", false},
            {"\"\"", false},    {"null", false},    {"[1]", false},    {"{}", false},
        };
        for (const auto& [json, value] : cases) QTest::newRow(json) << QByteArray(json) << value;
    }
    void okMemberReadsAsABoolean() {
        QFETCH(QByteArray, ok);
        const QJsonValue value = QJsonDocument::fromJson("{\"ok\":" + ok + "}").object().value("ok");
        QTEST(BKJSONBoolValue(value), "value");
    }

    void barFollowsTheTableWidth() {
        ui::Window window;
        auto* screen = new PrivilegedScreen;
        window.setRootViewController(new ui::NavigationController(screen));
        window.makeKeyAndVisible();
        QVERIFY(screen->scriptControlsShown());
        screen->setTableWidth(375);
        const QVariantMap layout = screen->scriptControlLayout();
        QCOMPARE(layout["buttonWidth"].toDouble(), 165.0);
        QCOMPARE(layout["stopX"].toDouble(), 193.0);
        QCOMPARE(layout["barHeight"].toDouble(), 70.0);

        _debugServiceEnabled = true; // debug mode takes the bar away
        screen->refreshData();
        QVERIFY(!screen->scriptControlsShown());
        QVERIFY(!findItem(screen->view(), "scriptControlBar")->isVisible());
        resetRuntimeStatusForTesting();
    }

    void tapSendsTheCommand_data() {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("alert"); // empty: success
        QTest::newRow("accepted") << httpReply(200, "") << "";
        QTest::newRow("refused by the daemon") << httpReply(200, R"({"ok":false,"error":"busy"})") << "busy";
        QTest::newRow("server error") << httpReply(500, "") << "接口返回状态码 500";
    }
    void tapSendsTheCommand() {
        QFETCH(QByteArray, reply);
        QFETCH(QString, alert);
        FakeDaemon daemon;
        daemon.reply = reply;
        QVERIFY(daemon.listen(QHostAddress::LocalHost));
        BKSetScriptControlEndpointForTesting(QString("http://127.0.0.1:%1").arg(daemon.serverPort()));
        _runtimeStatusLoaded = true; // no status retries: every ping seen here comes from the command
        ui::Window window;
        auto* screen = new PrivilegedScreen;
        window.setRootViewController(new ui::NavigationController(screen));
        window.makeKeyAndVisible();
        QTest::qWait(50);
        screen->posts.clear();

        if (const QString folder = qEnvironmentVariable("BRISKO_MAIN_SCREEN_PICTURES"); !folder.isEmpty())
            window.grab().save(folder + "/script-bar.png");
        QQuickItem* stop = findItem(screen->view(), "stopScriptButton");
        QVERIFY(stop && stop->isVisible() && stop->width() > 0);
        const QPointF centre = stop->mapToScene(QPointF(stop->width() / 2, stop->height() / 2));
        QTest::mouseClick(window.quickWindow(), Qt::LeftButton, {}, centre.toPoint());
        QVERIFY(BKFindItemWithTag(screen->view(), BKLoadingViewTag));
        QTRY_VERIFY(!BKFindItemWithTag(screen->view(), BKLoadingViewTag));
        QCOMPARE(daemon.requestLines, QStringList{"GET /task?cmd=stop HTTP/1.1"});

        if (alert.isEmpty()) {
            QVERIFY(!ui::AlertController::topPresented());
            QTRY_COMPARE(screen->posts, QStringList{"com.brisko.floatball.ping"}); // 0.3 s later
        } else {
            ui::AlertController* shown = ui::AlertController::topPresented();
            QVERIFY(shown);
            QCOMPARE(shown->title(), QString("停止失败"));
            QCOMPARE(shown->message(), alert);
            QVERIFY(shown->tapAction("确定"));
            QTest::qWait(400);
            QVERIFY(screen->posts.isEmpty());
        }
        BKSetScriptControlEndpointForTesting(QString());
        resetRuntimeStatusForTesting();
    }
};

QTEST_MAIN(ScriptControlTest)
#include "tst_script_control.moc"
