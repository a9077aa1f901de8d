// The main screen's controller against the runtime status (status requests, the two switches)
// and its QML view against the model, rendered offscreen.

#include "app/status/channel.h"
#include "app/status/runtime_status.h"
#include "main_screen/BKMainViewController.h"
#include "platform/bundle/bundle.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"
#include "tests/support/manual_scheduler.h"

#include <QDir>
#include <QFile>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

using namespace brisko;

namespace {

const QString kPing = "com.brisko.floatball.ping";

// The screen with the daemon, the keep-alive and the machine replaced by recorders.
class TestScreen : public BKMainViewController {
  public:
    QStringList posts;
    int keepAliveStarts = 0, keepAliveStops = 0;

  protected:
    void postNotification(const QString& name) override { posts << name; }
    void startKeepAlive() override { ++keepAliveStarts; }
    void stopKeepAlive() override { ++keepAliveStops; }
    QString wifiAddress() const override { return {}; }
    bool isPrivilegedInstall() const override { return false; }
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

// Depth first through the visual tree: delegates are not QObject children of the view.
QList<QQuickItem*> items(QQuickItem* root) {
    QList<QQuickItem*> all;
    for (QQuickItem* child : root->childItems())
        all << child << items(child);
    return all;
}

QQuickItem* itemNamed(QQuickItem* root, const QString& name) {
    for (QQuickItem* item : items(root))
        if (item->objectName() == name) return item;
    return nullptr;
}

// The screen inside the window, loaded and shown as at launch.
struct Shown {
    ui::Window window;
    TestScreen* screen = new TestScreen;
    Shown() {
        window.setRootViewController(new ui::NavigationController(screen));
        window.makeKeyAndVisible();
    }
};

} // namespace

class MainScreenTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        bundle::enableTestMode();
        QVERIFY(QDir().mkpath(bundle::documentsDirectory()));
    }
    void init() {
        resetRuntimeStatusForTesting();
        QFile::remove(markerPath());
    }

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
        const QString enable = "com.brisko.floatball.debug.enable_request";
        QTest::newRow("before any answer") << false << false << true << ""
                                           << ""
                                           << "";
        QTest::newRow("while a request is out") << true << true << true << ""
                                                << ""
                                                << "";
        QTest::newRow("on without a client") << true << false << true << enable << "等待连接..."
                                             << "--:8820（等待连接...）";
        QTest::newRow("off clears the client")
            << true << false << false << "com.brisko.floatball.debug.disable_request"
            << "已关闭"
            << "";
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
        for (QQuickItem* item : items(view))
            drawnRows -= item->objectName().startsWith("row_");
        QCOMPARE(drawnRows, 0); // no row beyond the model's
    }

    // A tap asks the controller; the switch follows the model rather than flipping itself.
    void tappedSwitchFollowsTheModel() {
        Shown shown;
        QQuickWindow* window = shown.window.quickWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        auto bootSwitch = [&] {
            for (QQuickItem* item : items(shown.screen->view()))
                if (item->property("text").toString() == "开机自启") return itemNamed(item, "switch");
            return static_cast<QQuickItem*>(nullptr);
        };
        auto tap = [&] {
            QQuickItem* sw = bootSwitch();
            QTest::mouseClick(window, Qt::LeftButton, {},
                              sw->mapToScene(QPointF(sw->width() / 2, sw->height() / 2)).toPoint());
        };
        QVERIFY(bootSwitch());
        tap();
        QTRY_VERIFY(bootSwitch()->property("checked").toBool());
        QVERIFY(QFile::exists(markerPath()));
        QVERIFY(QDir(bundle::documentsDirectory()).removeRecursively()); // the next write fails
        QFile::remove(markerPath());
        shown.screen->refreshData();
        tap();
        QVERIFY(!bootSwitch()->property("checked").toBool());
        QVERIFY(QDir().mkpath(bundle::documentsDirectory()));
    }
};

QTEST_MAIN(MainScreenTest)
#include "tst_main_screen.moc"
