// The main screen's controller against the runtime status, its view rendered offscreen, the
// start/stop bar against a local HTTP server, and the "服务地址" alert: the token file read as
// hostile input and the QR code decoded back by an independent reader.

#include "app/feedback/feedback.h"
#include "app/status/channel.h"
#include "app/status/runtime_status.h"
#include "main_screen/BKMainViewController.h"
#include "main_screen/qr_code.h"
#include "main_screen/script_control.h"
#include "main_screen/service_address.h"
#include "platform/bundle/bundle.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/engine.h"
#include "platform/ui/window.h"
#include "tests/support/manual_scheduler.h"
#include "tests/support/quick_items.h"
#include "tests/support/test_files.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickImageProvider>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

using namespace brisko;
using namespace brisko::testing;

namespace {

const QString kPing = "com.brisko.floatball.ping";

const QByteArray kToken = "3f9c2a7d5b8e1046c7a2f0d9e4b3816a5c0d7e2f9a4b6c8d1e3f5a7b9c0d2e4f";

// What zbarimg, a reader that shares no code with the encoder, finds in the image.
QString decodedByZbar(const QImage& image, const QString& folder) {
    const QString png = folder + "/qr.png";
    if (!image.save(png)) return "(not saved)";
    QProcess zbar;
    zbar.start("zbarimg", {"--raw", "-q", "-Sbinary", png});
    zbar.waitForFinished();
    return QString::fromUtf8(zbar.readAllStandardOutput()); // binary mode adds no line end
}

// The screen with the daemon, the keep-alive and the machine replaced by recorders.
class TestScreen : public BKMainViewController {
  public:
    QStringList posts;
    int keepAliveStarts = 0, keepAliveStops = 0;
    bool privileged = false;
    QString wifi;

  protected:
    void postNotification(const QString& name) override { posts << name; }
    void startKeepAlive() override { ++keepAliveStarts; }
    void stopKeepAlive() override { ++keepAliveStops; }
    QString wifiAddress() const override { return wifi; }
    bool isPrivilegedInstall() const override { return privileged; }
};

QVariantMap rowLabelled(const QVariantList& sections, const QString& label) {
    for (const QVariant& section : sections)
        for (const QVariant& row : section.toMap()["rows"].toList())
            if (row.toMap()["l"] == label) return row.toMap();
    return {};
}

QString markerPath() {
    return bundle::documentsDirectory() + "/boot_autostart";
}

// The screen inside the window, loaded and shown as at launch.
struct Shown {
    ui::Window window;
    TestScreen* screen = new TestScreen;
    explicit Shown(bool privileged = false) {
        screen->privileged = privileged;
        window.setRootViewController(new ui::NavigationController(screen));
        window.makeKeyAndVisible();
    }
};

} // namespace

class MainScreenTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QVERIFY2(!QStandardPaths::findExecutable("zbarimg").isEmpty(), "zbar-tools is not installed");
        bundle::enableTestMode();
        QVERIFY(QDir().mkpath(bundle::documentsDirectory()));
    }
    void init() {
        resetRuntimeStatusForTesting();
        QFile::remove(markerPath());
    }
    void cleanup() { BKSetScriptControlEndpointForTesting(QString()); }

    void statusRequestsRetryFiveTimesInAll() {
        testing::ManualScheduler clock;
        Shown shown; // one request from load, one from appear, each retried every 0.5 s
        QList<int> postsEachHalfSecond;
        for (int step = 0; step < 5; ++step, clock.advance(0.5))
            postsEachHalfSecond << int(shown.screen->posts.size());
        QCOMPARE(postsEachHalfSecond, QList<int>({2, 4, 6, 7, 7}));
        QCOMPARE(shown.screen->posts, QStringList(7, kPing));
        QCOMPARE(clock.pendingCount(), 0);

        // Past the limit a request is one ping; an answer resets the count.
        shown.screen->posts.clear();
        shown.screen->requestRuntimeStatus();
        BKOnFloatballAlive();
        QTRY_VERIFY(_runtimeStatusLoaded);
        QCOMPARE(_runtimeStatusRetryCount, int64_t(0));
        shown.screen->requestRuntimeStatus();
        clock.advance(1.0);
        QCOMPARE(shown.screen->posts, QStringList(2, kPing));
    }

    void debugFlip_data() {
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<bool>("busy");
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<QString>("request"); // empty: refused
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("address"); // empty: the boot row shows instead
        const auto row = [](const char* name, bool loaded, bool busy, bool wanted, const char* request,
                            const char* status, const char* address) {
            QTest::newRow(name) << loaded << busy << wanted << QString(request) << QString(status)
                                << QString(address);
        };
        row("before any answer", false, false, true, "", "", "");
        row("while a request is out", true, true, true, "", "", "");
        row("on without a client", true, false, true, "com.brisko.floatball.debug.enable_request",
            "等待连接...", "--:8820（等待连接...）");
        row("off clears the client", true, false, false, "com.brisko.floatball.debug.disable_request",
            "已关闭", "");
    }
    void debugFlip() {
        QFETCH(bool, loaded);
        QFETCH(bool, busy);
        QFETCH(bool, wanted);
        QFETCH(QString, request);
        QFETCH(QString, address);
        testing::ManualScheduler clock;
        TestScreen screen;
        _runtimeStatusLoaded = loaded;
        _debugToggleBusy = busy;
        _debugServiceEnabled = _debugClientConnected = !wanted;
        screen.refreshData();

        screen.debugToggleChanged(wanted);
        if (request.isEmpty()) {
            QCOMPARE(rowLabelled(screen.sections(), "调试模式")["sw"].toBool(), !wanted);
            QVERIFY(screen.posts.isEmpty() && !_debugServiceEnabled);
            QCOMPARE(screen.keepAliveStarts, 0);
            return;
        }
        QCOMPARE(_debugServiceEnabled, wanted);
        QTEST(_debugStatus, "status");
        QVERIFY(!_debugClientConnected);
        QCOMPARE(screen.keepAliveStarts, wanted ? 1 : 0);
        QCOMPARE(screen.keepAliveStops, wanted ? 0 : 1);
        const QVariantMap debugRow = rowLabelled(screen.sections(), "调试模式");
        QCOMPARE(debugRow["v"].toString(), QString("切换中..."));
        QVERIFY(debugRow["disabled"].toBool());
        QCOMPARE(rowLabelled(screen.sections(), "服务地址")["v"].toString(), address);
        QCOMPARE(rowLabelled(screen.sections(), "开机自启").isEmpty(), !address.isEmpty());
        QCOMPARE(screen.posts, QStringList{request});
        // The busy window closes after 0.3 s with a status request.
        clock.advance(0.29);
        QVERIFY(_debugToggleBusy);
        clock.advance(0.01);
        QVERIFY(!_debugToggleBusy);
        QCOMPARE(screen.posts, QStringList({request, kPing}));
    }

    void bootToggle_data() {
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<bool>("documentsMissing");
        QTest::newRow("on writes the marker") << true << false;
        QTest::newRow("off removes it") << false << false;
        QTest::newRow("on without a Documents folder") << true << true;
    }
    void bootToggle() {
        QFETCH(bool, wanted);
        QFETCH(bool, documentsMissing);
        const QString documents = bundle::documentsDirectory();
        if (!wanted) QVERIFY(QFile(markerPath()).open(QIODevice::WriteOnly));
        if (documentsMissing) QVERIFY(QDir(documents).removeRecursively());
        TestScreen screen;
        screen.bootToggleChanged(wanted);
        const bool markerAfter = wanted && !documentsMissing;
        // The switch shows the file, so a failed write does not look like a success.
        QCOMPARE(rowLabelled(screen.sections(), "开机自启")["sw"].toBool(), markerAfter);
        QCOMPARE(QFile::exists(markerPath()), markerAfter);
        QFile marker(markerPath());
        if (markerAfter) QVERIFY(marker.open(QIODevice::ReadOnly) && marker.readAll() == "1");
        QVERIFY(QDir().mkpath(documents));
    }

    void viewShowsTheModel_data() {
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("marker");
        QTest::newRow("waiting") << false << false << false;
        QTest::newRow("debug on") << true << true << false;
        QTest::newRow("debug off, marker") << true << false << true;
    }
    void viewShowsTheModel() {
        QFETCH(bool, loaded);
        QFETCH(bool, enabled);
        QFETCH(bool, marker);
        if (marker) QVERIFY(QFile(markerPath()).open(QIODevice::WriteOnly));
        Shown shown;
        _runtimeStatusLoaded = loaded;
        _debugServiceEnabled = enabled;
        shown.screen->refreshData();
        QQuickItem* view = shown.screen->view();

        const QVariantList sections = shown.screen->sections();
        int drawnRows = 0;
        for (int s = 0; s < sections.size(); ++s) {
            QQuickItem* header = itemNamed(view, QString("header_%1").arg(s));
            QVERIFY(header);
            QCOMPARE(header->property("title").toString(), sections[s].toMap()["title"].toString());
            QCOMPARE(header->height(), s == 0 ? 40.0 : 26.0);
            const QVariantList rows = sections[s].toMap()["rows"].toList();
            for (int r = 0; r < rows.size(); ++r, ++drawnRows) {
                const QVariantMap row = rows[r].toMap();
                QQuickItem* cell = itemNamed(view, QString("row_%1_%2").arg(s).arg(r));
                QVERIFY(cell);
                QCOMPARE(cell->property("text").toString(), row["l"].toString());
                QCOMPARE(cell->property("secondaryText").toString(), row["v"].toString());
                QCOMPARE(cell->property("symbol").toString(), row["i"].toString());
                QQuickItem* sw = itemNamed(cell, "switch");
                QVERIFY(sw);
                QCOMPARE(sw->isVisible(), row.contains("sw"));
                if (!row.contains("sw")) continue;
                QCOMPARE(sw->property("checked").toBool(), row["sw"].toBool());
                QCOMPARE(sw->isEnabled(), !row.value("disabled").toBool());
            }
        }
        for (QQuickItem* item : descendants(view))
            drawnRows -= item->objectName().startsWith("row_");
        QCOMPARE(drawnRows, 0); // no row beyond the model's
    }

    // A tap asks the controller; the switch follows the model rather than flipping itself.
    void tappedSwitchFollowsTheModel() {
        Shown shown;
        QQuickWindow* window = shown.window.quickWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        auto bootSwitch = [&] {
            for (QQuickItem* item : descendants(shown.screen->view()))
                if (item->property("text").toString() == "开机自启") return itemNamed(item, "switch");
            return static_cast<QQuickItem*>(nullptr);
        };
        QVERIFY(bootSwitch());
        testing::click(bootSwitch());
        QTRY_VERIFY(bootSwitch()->property("checked").toBool());
        QVERIFY(QFile::exists(markerPath()));
        QVERIFY(QDir(bundle::documentsDirectory()).removeRecursively()); // the next write fails
        QFile::remove(markerPath());
        shown.screen->refreshData();
        testing::click(bootSwitch());
        QVERIFY(!bootSwitch()->property("checked").toBool());
        QVERIFY(QDir().mkpath(bundle::documentsDirectory()));
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
        Shown shown(true);
        QVERIFY(shown.screen->scriptControlsShown());
        shown.screen->setTableWidth(375);
        const QVariantMap layout = shown.screen->scriptControlLayout();
        QCOMPARE(layout["buttonWidth"].toDouble(), 165.0);
        QCOMPARE(layout["stopX"].toDouble(), 193.0);
        _debugServiceEnabled = true; // debug mode takes the bar away
        shown.screen->refreshData();
        QVERIFY(!shown.screen->scriptControlsShown());
        QVERIFY(!testing::itemNamed(shown.screen->view(), "scriptControlBar")->isVisible());
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
        Shown shown(true);
        QQuickItem* stop = testing::itemNamed(shown.screen->view(), "stopScriptButton");
        QVERIFY(stop && stop->isVisible() && stop->width() > 0);
        testing::click(stop);
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

    void tokenFile_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("good") << "file" << kToken << true;
        QTest::newRow("missing") << "none" << QByteArray() << false;
        QTest::newRow("empty") << "file" << QByteArray() << false;
        QTest::newRow("short") << "file" << kToken.left(63) << false;
        QTest::newRow("trailing newline") << "file" << kToken + "\n" << false;
        QTest::newRow("upper case") << "file" << kToken.toUpper() << false;
        QTest::newRow("non-hex") << "file" << QByteArray(kToken).replace(10, 1, "g") << false;
        QTest::newRow("NUL inside") << "file" << QByteArray(kToken).replace(10, 1, QByteArray(1, '\0'))
                                    << false;
        QTest::newRow("huge") << "file" << kToken.repeated(1 << 14) << false;
        QTest::newRow("link to a good token") << "link" << kToken << false;
        QTest::newRow("fifo") << "fifo" << QByteArray() << false;
        QTest::newRow("directory") << "dir" << QByteArray() << false;
    }
    void tokenFile() {
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        QFETCH(bool, accepted);
        QTemporaryDir documents;
        const QString path = documents.path() + "/.floatball.token";
        if (kind == "file") QVERIFY(writeFile(path, content));
        if (kind == "link") {
            QVERIFY(writeFile(documents.path() + "/elsewhere", content));
            QVERIFY(QFile::link(documents.path() + "/elsewhere", path));
        }
        if (kind == "fifo") QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        if (kind == "dir") QVERIFY(QDir().mkpath(path));
        const std::optional<QString> token = BKReadDebugToken(documents.path());
        QCOMPARE(token.has_value(), accepted);
        if (accepted) QCOMPARE(token->toLatin1(), content);
    }

    void hostsPreferWiFiThenEveryOtherIPv4Once() {
        const QList<BKInterfaceAddress> all = {{"lo", AF_INET, "127.0.0.1"},
                                               {"eth0", AF_INET, "10.0.0.5"},
                                               {"eth0", AF_INET6, "fe80::1"},
                                               {"docker0", AF_INET, "172.17.0.1"},
                                               {"eth0:1", AF_INET, "10.0.0.5"}};
        QCOMPARE(BKServiceAddressHosts("192.168.1.23", all), QStringList{"192.168.1.23"});
        QCOMPARE(BKServiceAddressHosts("", all), QStringList({"10.0.0.5", "172.17.0.1"}));
    }

    // A missing token never yields a URL, a QR code or something to copy.
    void alertContent() {
        const QString url = "http://10.0.0.5:8820/?token=" + kToken;
        const auto full = BKServiceAddressAlertContent({"10.0.0.5", "172.17.0.1"}, false, QString(kToken));
        QCOMPARE(full.message,
                 "未检测到 Wi-Fi，可尝试以下地址：\n" + url + "\nhttp://172.17.0.1:8820/?token=" + kToken);
        QCOMPARE(full.qrPayload, url);
        QCOMPARE(full.copyText, url);
        const auto noToken = BKServiceAddressAlertContent({"10.0.0.5"}, true, std::nullopt);
        QCOMPARE(noToken.message, QString("10.0.0.5:8820\n令牌不可用，请稍后重试或重新开启调试模式"));
        QVERIFY(noToken.qrPayload.isEmpty() && noToken.copyText.isEmpty());
        QVERIFY(BKServiceAddressAlertContent({}, true, QString(kToken)).qrPayload.isEmpty());
    }

    // Through the URL a view would load, so the id's encoding is part of the trip.
    void qrRoundTrip_data() {
        QTest::addColumn<QString>("payload");
        QTest::newRow("address") << "http://192.168.100.200:8820/?token=" + QString::fromLatin1(kToken);
        QTest::newRow("URL-special characters") << "a/b?c=d&e=%2F#f+g h";
        QTest::newRow("non-ASCII") << "服务地址 ✓";
    }
    void qrRoundTrip() {
        QFETCH(QString, payload);
        QTemporaryDir folder;
        BKInstallQRCodeImageProvider(ui::engine());
        auto* provider = static_cast<QQuickImageProvider*>(ui::engine()->imageProvider("qrcode"));
        const QUrl url = BKQRCodeImageUrl(payload);
        const QImage image = provider->requestImage(
            url.toString(QUrl::RemoveScheme | QUrl::RemoveAuthority).mid(1), nullptr, {200, 200});
        QVERIFY(!image.isNull() && image.width() <= 200 && image.width() >= 100);
        const int modules = BKEncodeQR(payload.toUtf8())->size + 2 * kQRQuietZone;
        QCOMPARE(image.width() % modules, 0);
        QCOMPARE(decodedByZbar(image, folder.path()), payload);
    }

    void tooLongForQR() {
        QVERIFY(BKQRCodeImage(QByteArray(4000, 'x'), 200).isNull());
        QVERIFY(!BKQRCodeImage("x", 0).isNull()); // never smaller than a pixel per module
    }

    void tappingTheRowCopiesTheAddress() {
        QVERIFY(writeFile(bundle::documentsDirectory() + "/.floatball.token", kToken));
        resetRuntimeStatusForTesting();
        _runtimeStatusLoaded = _debugServiceEnabled = true;
        TestScreen screen;
        screen.wifi = "192.168.1.23";
        screen.refreshData();
        screen.didSelectRow(1, 2);
        ui::AlertController* alert = ui::AlertController::topPresented();
        QVERIFY(alert && !alert->imageSource().isEmpty());
        QVERIFY(alert->tapAction("复制地址"));
        QCOMPARE(QGuiApplication::clipboard()->text(), "http://192.168.1.23:8820/?token=" + kToken);
    }
};

QTEST_MAIN(MainScreenTest)
#include "tst_main_screen.moc"
