// The web panel end to end: real pages from a local server on the daemon's port, the panel over
// the navigation view, and the page's dialogs answered through the main screen's alerts.

#include "app/status/app_references.h"
#include "app/web/BKWebPanelController.h"
#include "app/web/web_engine_setup.h"
#include "app/web/web_panel.h"
#include "main_screen/BKMainViewController.h"
#include "platform/bundle/bundle.h"
#include "platform/dispatch/dispatch.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"
#include "tests/support/PageServer.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTcpSocket>
#include <QtTest>

#include <thread>

using namespace brisko;
using brisko::testing::PageServer;
using ui::AlertController;

namespace {

constexpr const char* kPanelURL = "http://localhost:65005/index.html";

class QuietScreen : public BKMainViewController {
  protected:
    void postNotification(const QString&) override {}
    QString wifiAddress() const override { return {}; }
    bool isPrivilegedInstall() const override { return false; }
};

// Everything queued on the main thread so far has run once this returns.
bool flushMain() {
    bool done = false;
    dispatchMainAsync([&done] { done = true; });
    return QTest::qWaitFor([&done] { return done; });
}

void closePanel() {
    CloseWebView();
    flushMain();
}

// The launch's window: the main screen in a navigation controller, known to the services.
struct App {
    ui::Window window;
    QuietScreen* screen = new QuietScreen;
    ui::NavigationController* nav = new ui::NavigationController(screen);
    App() {
        window.setRootViewController(nav);
        window.makeKeyAndVisible();
        _mainVC = screen;
        _rootNav = nav;
    }
    // Leaves no alert and no panel for the next test.
    ~App() {
        while (AlertController* alert = AlertController::topPresented())
            alert->tapActionAt(0);
        closePanel();
    }
};

// Opens the panel on a page that runs script and can report(v) back to the server.
bool openPanelRunning(PageServer& server, const QByteArray& script) {
    if (!server.listenOnLoopback()) return false;
    server.setPage("/index.html", "<!doctype html><meta charset=utf-8><body><script>"
                                  "function report(v) { fetch('/report?v=' + encodeURIComponent(v)); }\n" +
                                      script + "</script></body>");
    SetWebViewURL(kPanelURL);
    return true;
}

QQuickItem* panelItem() {
    BKWebPanelController* panel = BKCurrentWebView();
    return panel && panel->isViewLoaded() ? panel->view() : nullptr;
}

QQuickItem* showPanel() {
    SetWebViewURL(kPanelURL);
    return flushMain() ? panelItem() : nullptr;
}

} // namespace

class WebPanelTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() { bundle::enableTestMode(); }

    void showShowCloseUsesOneViewAndLoadsTwice() {
        App app;
        PageServer server;
        QVERIFY(openPanelRunning(server, ""));
        QTRY_COMPARE_WITH_TIMEOUT(server.hits("/index.html"), 1, 30000);
        BKWebPanelController* first = BKCurrentWebView();
        QPointer<QQuickItem> item = panelItem();
        SetWebViewURL(kPanelURL);
        QTRY_COMPARE_WITH_TIMEOUT(server.hits("/index.html"), 2, 30000);
        QCOMPARE(BKCurrentWebView(), first);
        QCOMPARE(first->loadCount(), 2);
        closePanel();
        QVERIFY(!BKCurrentWebView());
        QVERIFY(!item);
    }

    void showAndCloseSequences_data() {
        QTest::addColumn<std::function<void()>>("calls");
        QTest::addColumn<bool>("shown");
        const auto row = [](const char* name, bool shown, std::function<void()> calls) {
            QTest::newRow(name) << calls << shown;
        };
        const auto show = [] { SetWebViewURL(kPanelURL); };
        row("close with nothing shown", false, CloseWebView);
        row("show then close at once", false, [=] { show(), CloseWebView(); });
        row("close then show", true, [=] { CloseWebView(), show(); });
        row("show and close from another thread", false,
            [=] { std::thread([=] { show(), CloseWebView(); }).join(); });
        row("show from another thread", true, [=] { std::thread(show).join(); });
        row("null address", false, [] { SetWebViewURL(nullptr); });
        row("malformed address", false, [] { SetWebViewURL("http://exa mple/%zz"); });
        row("no navigation controller", false, [=] { _rootNav = nullptr, show(); });
    }

    void showAndCloseSequences() {
        QFETCH(std::function<void()>, calls);
        QFETCH(bool, shown);
        App app;
        calls();
        QVERIFY(flushMain());
        QCOMPARE(BKCurrentWebView() != nullptr, shown);
    }

    void panelCoversTheBarAndPushedScreens() {
        App app;
        app.nav->pushViewController(new ui::ViewController, false);
        QQuickItem* panel = showPanel();
        QVERIFY(panel);
        QQuickItem* navView = app.nav->view();
        QCOMPARE(panel->parentItem(), navView);
        for (QQuickItem* sibling : navView->childItems())
            if (sibling != panel) QVERIFY(panel->z() > sibling->z());
        QCOMPARE(panel->mapToScene(QPointF(0, 0)), QPointF(0, 0));
        QCOMPARE(panel->size(), QSizeF(app.window.quickWindow()->size()));
    }

    // Only an alert has no cancel button, and only a prompt has a field.
    void pageDialogsAnswerWhatWasTapped_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("editTo"); // null: leave the field as it is
        QTest::addColumn<QString>("tap");
        QTest::addColumn<QString>("answer");
        const QByteArray alert = "alert('脚本已停止'); report('after');";
        const QByteArray confirm = "report(String(confirm('继续吗?')));";
        const QByteArray prompt = "report(JSON.stringify(prompt('名称', '默认名')));";
        const QString keep;
        const auto row = [](const char* name, const QByteArray& script, const QString& message,
                            const QString& editTo, const QString& tap, const QString& answer) {
            QTest::newRow(name) << script << message << editTo << tap << answer;
        };
        row("alert", alert, "脚本已停止", keep, "确定", "after");
        row("confirm ok", confirm, "继续吗?", keep, "确定", "true");
        row("confirm cancel", confirm, "继续吗?", keep, "取消", "false");
        row("prompt default", prompt, "名称", keep, "确定", "\"默认名\"");
        row("prompt edited", prompt, "名称", "新名字", "确定", "\"新名字\"");
        row("prompt emptied", prompt, "名称", "", "确定", "\"\"");
        row("prompt cancel", prompt, "名称", "改过", "取消", "null");
    }

    void pageDialogsAnswerWhatWasTapped() {
        QFETCH(QByteArray, script);
        QFETCH(QString, message);
        QFETCH(QString, editTo);
        QFETCH(QString, tap);
        QFETCH(QString, answer);
        App app;
        PageServer server;
        QVERIFY(openPanelRunning(server, script));
        QTRY_VERIFY_WITH_TIMEOUT(AlertController::topPresented(), 30000);
        AlertController* alert = AlertController::topPresented();
        QCOMPARE(alert->title(), QString());
        QCOMPARE(alert->message(), message);
        const bool isAlert = script.startsWith("alert"), isPrompt = script.contains("prompt");
        QCOMPARE(alert->actionTitles(), (isAlert ? QStringList{"确定"} : QStringList{"取消", "确定"}));
        QCOMPARE(alert->textFieldText(0), isPrompt ? QString("默认名") : QString());
        QVERIFY(server.reports().isEmpty()); // the page waits for the tap
        if (!editTo.isNull()) alert->setTextFieldText(0, editTo);
        QVERIFY(alert->tapAction(tap));
        QTRY_COMPARE_WITH_TIMEOUT(server.reports(), QStringList{answer}, 30000);
    }

    // A page dialog lands above the application's own alert and goes when answered or when the
    // panel closes; the application's alert stays.
    void pageDialogOverAnAlert_data() {
        QTest::addColumn<bool>("closePanel");
        QTest::newRow("answered") << false;
        QTest::newRow("panel closed") << true;
    }
    void pageDialogOverAnAlert() {
        QFETCH(bool, closePanel);
        App app;
        auto* earlier = new AlertController("启动失败", "脚本未找到");
        earlier->addAction("确定");
        app.screen->present(earlier);
        PageServer server;
        QVERIFY(openPanelRunning(server, "report(String(confirm('覆盖在上面')));"));
        QTRY_COMPARE_WITH_TIMEOUT(AlertController::presented().size(), 2, 30000);
        QCOMPARE(AlertController::presented().first(), earlier);
        QCOMPARE(AlertController::topPresented()->message(), QString("覆盖在上面"));
        if (closePanel) {
            CloseWebView();
            QVERIFY(flushMain());
        } else {
            QVERIFY(AlertController::topPresented()->tapAction("确定"));
            QTRY_COMPARE_WITH_TIMEOUT(server.reports(), QStringList{"true"}, 30000);
        }
        QCOMPARE(AlertController::presented(), QList<AlertController*>{earlier});
    }

    // Nobody can see a dialog of a screen in no window: the page gets the cancel answer at once.
    void screenInNoWindowAnswersCancel() {
        QuietScreen screen;
        QStringList answers;
        screen.runJavaScriptAlertPanel("a", [&] { answers << "alert"; });
        screen.runJavaScriptConfirmPanel("c", [&](bool ok) { answers << (ok ? "true" : "false"); });
        screen.runJavaScriptTextInputPanel(
            "p", "d", [&](std::optional<QString> text) { answers << (text ? *text : QString("null")); });
        QCOMPARE(answers, (QStringList{"alert", "false", "null"}));
        QVERIFY(AlertController::presented().isEmpty());
    }

    void unreachableServerShowsTheEnginesPageAndNothingElse() {
        App app;
        QQuickItem* panel = showPanel();
        QVERIFY(panel);
        QTRY_VERIFY_WITH_TIMEOUT(
            panel->property("loadProgress").toInt() == 100 && !panel->property("loading").toBool(), 30000);
        QVERIFY(AlertController::presented().isEmpty());
    }

    void pageServerRefusesForeignHosts_data() {
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<QByteArray>("status");
        QTest::newRow("localhost") << QByteArray("localhost:65005") << QByteArray("404");
        QTest::newRow("rebound name") << QByteArray("evil.example:65005") << QByteArray("403");
        QTest::newRow("other port") << QByteArray("127.0.0.1:80") << QByteArray("403");
    }

    void pageServerRefusesForeignHosts() {
        QFETCH(QByteArray, host);
        QFETCH(QByteArray, status);
        PageServer server;
        QVERIFY(server.listenOnLoopback());
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, PageServer::kPort);
        QVERIFY(socket.waitForConnected(5000));
        socket.write("GET /missing HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
        QByteArray response;
        QTRY_VERIFY((response += socket.readAll()).contains("\r\n"));
        QCOMPARE(response.split(' ').value(1), status);
    }
};

int main(int argc, char** argv) {
    BKInitializeWebEngine(argc, argv);
    QGuiApplication app(argc, argv);
    WebPanelTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_web_panel.moc"
