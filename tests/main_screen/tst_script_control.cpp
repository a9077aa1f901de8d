// The start/stop bar: how the daemon's replies read, and a request through a local HTTP server.

#include "app/feedback/feedback.h"
#include "app/status/runtime_status.h"
#include "main_screen/BKMainViewController.h"
#include "main_screen/script_control.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <sys/socket.h>

using namespace brisko;

namespace {

class PrivilegedScreen : public BKMainViewController {
  protected:
    void postNotification(const QString&) override {}
    bool isPrivilegedInstall() const override { return true; }
};

struct Shown {
    ui::Window window;
    PrivilegedScreen* screen = new PrivilegedScreen;
    Shown() {
        window.setRootViewController(new ui::NavigationController(screen));
        window.makeKeyAndVisible();
    }
};

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
    void cleanup() {
        BKSetScriptControlEndpointForTesting(QString());
        resetRuntimeStatusForTesting();
    }

    void outcome_data() {
        QTest::addColumn<QString>("transportError");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("alert"); // null: sent; "<default>": the alert's own message
        const QString none, fallback = "<default>";
        QTest::newRow("empty body") << none << 200 << QByteArray() << none;
        QTest::newRow("not JSON") << none << 200 << QByteArray("started") << none;
        QTest::newRow("ok as text") << none << 200 << QByteArray(R"({"ok":" +007"})") << none;
        QTest::newRow("ok as zero text") << none << 200 << QByteArray(R"({"ok":"000"})") << fallback;
        QTest::newRow("ok as a list") << none << 200 << QByteArray(R"({"ok":[1]})") << fallback;
        QTest::newRow("error text") << none << 200 << QByteArray(R"({"ok":false,"error":"脚本不存在"})")
                                    << "脚本不存在";
        QTest::newRow("error not text")
            << none << 200 << QByteArray(R"({"ok":0,"error":{"a":1}})") << fallback;
        QTest::newRow("404") << none << 404 << QByteArray(R"({"ok":true})") << "接口返回状态码 404";
        QTest::newRow("refused") << "Connection refused" << 0 << QByteArray() << "Connection refused";
    }
    void outcome() {
        QFETCH(QString, transportError);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, alert);
        const BKScriptControlOutcome o = BKScriptControlOutcomeFor("启动", transportError, status, body);
        const QString message = o.alertMessage.isNull() ? "<default>" : o.alertMessage;
        QCOMPARE(o.sent ? o.toast : o.alertTitle + ": " + message,
                 alert.isNull() ? QString("已发送启动指令") : "启动失败: " + alert);
    }

    void barFollowsTheTableWidth() {
        Shown shown;
        QVERIFY(shown.screen->scriptControlsShown());
        shown.screen->setTableWidth(375);
        const QVariantMap layout = shown.screen->scriptControlLayout();
        QCOMPARE(layout["buttonWidth"].toDouble(), 165.0);
        QCOMPARE(layout["stopX"].toDouble(), 193.0);
        _debugServiceEnabled = true; // debug mode takes the bar away
        shown.screen->refreshData();
        QVERIFY(!shown.screen->scriptControlsShown());
        QVERIFY(!findItem(shown.screen->view(), "scriptControlBar")->isVisible());
    }

    // The request goes out under the overlay and a failure comes back as an alert. A connection
    // reset after the status line is a transport failure, not a reply with a short body.
    void tapSendsTheCommand_data() {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("reset");
        QTest::addColumn<QString>("alert"); // "<transport>": the transport's own description
        QTest::newRow("daemon refuses") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 27\r\nConnection: "
                                                      "close\r\n\r\n"
                                                      R"({"ok":false,"error":"busy"})")
                                        << false << "停止失败 busy";
        QTest::newRow("reset mid-body") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 64\r\n\r\n{\"ok\":")
                                        << true << "停止失败 <transport>";
    }
    void tapSendsTheCommand() {
        QFETCH(QByteArray, reply);
        QFETCH(bool, reset);
        QFETCH(QString, alert);
        QTcpServer daemon;
        QStringList requestLines;
        connect(&daemon, &QTcpServer::newConnection, this, [&] {
            QTcpSocket* socket = daemon.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [&, socket] {
                requestLines << QString::fromLatin1(socket->readLine()).trimmed();
                socket->write(reply);
                socket->flush();
                if (reset) { // a reset, not a close
                    const linger hard{1, 0};
                    setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
                }
                reset ? socket->abort() : socket->disconnectFromHost();
            });
        });
        QVERIFY(daemon.listen(QHostAddress::LocalHost));
        BKSetScriptControlEndpointForTesting(QString("http://127.0.0.1:%1").arg(daemon.serverPort()));
        Shown shown;
        QQuickItem* stop = findItem(shown.screen->view(), "stopScriptButton");
        QVERIFY(stop && stop->isVisible() && stop->width() > 0);
        const QPointF centre = stop->mapToScene(QPointF(stop->width() / 2, stop->height() / 2));
        QTest::mouseClick(shown.window.quickWindow(), Qt::LeftButton, {}, centre.toPoint());
        QVERIFY(BKLoadingOverlayFor(shown.screen->view()));
        QTRY_VERIFY(!BKLoadingOverlayFor(shown.screen->view()));
        QCOMPARE(requestLines, QStringList{"GET /task?cmd=stop HTTP/1.1"});
        ui::AlertController* presented = ui::AlertController::topPresented();
        QVERIFY(presented);
        QString message = presented->message();
        if (alert.endsWith("<transport>") && !message.isEmpty() && message != "请求未发送成功" &&
            !message.startsWith("接口返回状态码"))
            message = "<transport>";
        QCOMPARE(presented->title() + " " + message, alert);
        QVERIFY(presented->tapAction("确定"));
    }
};

QTEST_MAIN(ScriptControlTest)
#include "tst_script_control.moc"
