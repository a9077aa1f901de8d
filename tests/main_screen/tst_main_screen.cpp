// The main screen's controller against the runtime status (status requests, the two switches)
// and its QML view against the model, rendered offscreen.

#include "app/status/app_references.h"
#include "app/status/channel.h"
#include "app/status/runtime_status.h"
#include "main_screen/BKMainViewController.h"
#include "platform/bundle/bundle.h"
#include "platform/ui/navigationcontroller.h"
#include "platform/ui/window.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <memory>

using namespace brisko;

namespace {

const QString kPing = "com.brisko.floatball.ping";
const QString kEnable = "com.brisko.floatball.debug.enable_request";
const QString kDisable = "com.brisko.floatball.debug.disable_request";

// The screen with the daemon, the keep-alive and the machine replaced by recorders.
class TestScreen : public BKMainViewController {
public:
    QStringList posts;
    QList<qint64> postTimes;
    QElapsedTimer clock;
    int keepAliveStarts = 0;
    int keepAliveStops = 0;
    QString wifi;
    bool privileged = false;

    TestScreen() { clock.start(); }
    void clearRecords() {
        posts.clear();
        postTimes.clear();
        clock.restart();
    }

protected:
    void postNotification(const QString& name) override {
        posts << name;
        postTimes << clock.elapsed();
    }
    void startKeepAlive() override { ++keepAliveStarts; }
    void stopKeepAlive() override { ++keepAliveStops; }
    BKDeviceFacts readDeviceFacts() const override {
        BKDeviceFacts d;
        d.systemName = "Debian GNU/Linux 12 (bookworm)";
        d.machine = "QEMU Standard PC";
        d.screenSize = QSizeF(390, 844);
        d.screenScale = 3;
        return d;
    }
    QString wifiAddress() const override { return wifi; }
    bool isPrivilegedInstall() const override { return privileged; }
};

// A switch as the view hands it over: an object with a "checked" property.
std::unique_ptr<QObject> switchObject(bool checked) {
    auto sw = std::make_unique<QObject>();
    sw->setProperty("checked", checked);
    return sw;
}

QStringList labelsOf(const QVariantList& sections, int section) {
    QStringList result;
    for (const QVariant& row : sections[section].toMap()["rows"].toList()) result << row.toMap()["l"].toString();
    return result;
}

QVariantMap rowLabelled(const QVariantList& sections, const QString& label) {
    for (const QVariant& section : sections)
        for (const QVariant& row : section.toMap()["rows"].toList())
            if (row.toMap()["l"] == label) return row.toMap();
    return {};
}

QString markerPath() { return bundle::documentsDirectory() + "/boot_autostart"; }


// The visual tree below root, depth first (delegates are not QObject children of the view).
void collectItems(QQuickItem* root, QList<QQuickItem*>* items) {
    for (QQuickItem* child : root->childItems()) {
        items->append(child);
        collectItems(child, items);
    }
}

QList<QQuickItem*> itemsNamed(QQuickItem* root, const QString& prefix) {
    QList<QQuickItem*> all, found;
    collectItems(root, &all);
    for (QQuickItem* item : all)
        if (item->objectName().startsWith(prefix)) found << item;
    return found;
}

QQuickItem* itemNamed(QQuickItem* root, const QString& name) {
    for (QQuickItem* item : itemsNamed(root, name))
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
        Shown shown; // one request from load, one from appear
        QTRY_COMPARE_WITH_TIMEOUT(shown.screen->posts.size(), 7, 3000);
        QTest::qWait(800);
        QCOMPARE(shown.screen->posts, QStringList(7, kPing));
        const int halfSeconds[] = {0, 0, 1, 1, 2, 2, 3};
        for (int i = 0; i < 7; ++i) {
            // Never early; late only by what a busy machine's timers allow.
            const qint64 due = halfSeconds[i] * 500, at = shown.screen->postTimes[i];
            QVERIFY2(at >= due - 20 && at < due + 400,
                     qPrintable(QString("ping %1 at %2 ms").arg(i).arg(at)));
        }
        QCOMPARE(_runtimeStatusRetryCount, int64_t(5));

        // Past the limit each request is one ping; an answer then resets the count.
        shown.screen->clearRecords();
        shown.screen->requestRuntimeStatus();
        BKOnFloatballAlive();
        QTRY_VERIFY(_runtimeStatusLoaded);
        QCOMPARE(_runtimeStatusRetryCount, int64_t(0));
        shown.screen->requestRuntimeStatus();
        QTest::qWait(700);
        QCOMPARE(shown.screen->posts, QStringList(2, kPing));
    }

    void debugFlipIsRefusedWhileNotReady_data() {
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<bool>("busy");
        QTest::newRow("before any answer") << false << false;
        QTest::newRow("while a request is in flight") << true << true;
    }
    void debugFlipIsRefusedWhileNotReady() {
        QFETCH(bool, loaded);
        QFETCH(bool, busy);
        TestScreen screen;
        _runtimeStatusLoaded = loaded;
        _debugToggleBusy = busy;
        const auto sw = switchObject(true); // drawn before the state changed
        screen.debugToggleChanged(sw.get());
        QCOMPARE(sw->property("checked").toBool(), false);
        QVERIFY(screen.posts.isEmpty());
        QCOMPARE(screen.keepAliveStarts, 0);
        QVERIFY(!_debugServiceEnabled);
    }

    void debugFlip_data() {
        QTest::addColumn<bool>("enabledBefore");
        QTest::addColumn<bool>("clientBefore");
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<QString>("request");
        QTest::addColumn<QStringList>("tools");
        QTest::addColumn<QString>("status");
        QTest::addColumn<bool>("client");
        QTest::addColumn<QString>("address");
        const QStringList withAddress{"文件管理", "调试模式", "服务地址"};
        const QStringList withBoot{"文件管理", "调试模式", "开机自启"};
        QTest::newRow("on without a client") << false << false << true << kEnable << withAddress << "等待连接..."
                                             << false << "--:8820（等待连接...）";
        QTest::newRow("on with a client") << false << true << true << kEnable << withAddress << "已连接" << true
                                          << "--:8820（已连接）";
        QTest::newRow("off clears the client") << true << true << false << kDisable << withBoot << "已关闭" << false
                                               << "";
    }
    void debugFlip() {
        QFETCH(bool, enabledBefore);
        QFETCH(bool, clientBefore);
        QFETCH(bool, wanted);
        TestScreen screen;
        _runtimeStatusLoaded = true;
        _debugServiceEnabled = enabledBefore;
        _debugClientConnected = clientBefore;
        screen.refreshData();

        const auto sw = switchObject(wanted);
        screen.debugToggleChanged(sw.get());
        QCOMPARE(_debugServiceEnabled, wanted);
        QTEST(_debugStatus, "status");
        QTEST(_debugClientConnected, "client");
        QCOMPARE(screen.keepAliveStarts, wanted ? 1 : 0);
        QCOMPARE(screen.keepAliveStops, wanted ? 0 : 1);
        QTEST(labelsOf(screen.sections(), 1), "tools");
        const QVariantMap debugRow = rowLabelled(screen.sections(), "调试模式");
        QCOMPARE(debugRow["v"].toString(), QString("切换中..."));
        QVERIFY(debugRow["disabled"].toBool());
        QCOMPARE(debugRow["sw"].toBool(), wanted);
        QTEST(rowLabelled(screen.sections(), "服务地址")["v"].toString(), "address");
        QFETCH(QString, request);
        QCOMPARE(screen.posts, QStringList{request});

        // The busy window ends after 0.3 s with a status request, without a refresh of its own.
        QTest::qWait(150);
        QVERIFY(_debugToggleBusy);
        QTRY_VERIFY_WITH_TIMEOUT(!_debugToggleBusy, 1000);
        QCOMPARE(screen.posts, QStringList({request, kPing}));
        QCOMPARE(rowLabelled(screen.sections(), "调试模式")["v"].toString(), QString("切换中..."));
    }

    void bootToggle_data() {
        QTest::addColumn<bool>("markerBefore");
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<bool>("documentsMissing");
        QTest::addColumn<bool>("markerAfter");
        QTest::newRow("on writes the marker") << false << true << false << true;
        QTest::newRow("off removes it") << true << false << false << false;
        QTest::newRow("off when already missing") << false << false << false << false;
        QTest::newRow("on without a Documents folder") << false << true << true << false;
    }
    void bootToggle() {
        QFETCH(bool, markerBefore);
        QFETCH(bool, wanted);
        QFETCH(bool, documentsMissing);
        QFETCH(bool, markerAfter);
        const QString documents = bundle::documentsDirectory();
        if (markerBefore) {
            QFile file(markerPath());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("stale");
        }
        if (documentsMissing) QVERIFY(QDir(documents).removeRecursively());

        TestScreen screen;
        const auto sw = switchObject(wanted);
        screen.bootToggleChanged(sw.get());
        QCOMPARE(QFile::exists(markerPath()), markerAfter);
        QCOMPARE(sw->property("checked").toBool(), markerAfter); // put back when the write failed
        if (markerAfter) {
            QFile file(markerPath());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), QByteArray("1"));
        }
        QVERIFY(QDir().mkpath(documents));
    }

    void viewShowsTheModel_data() {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<bool>("loaded");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("marker");
        QTest::newRow("waiting") << "main-waiting" << false << false << false;
        QTest::newRow("debug on") << "main-debug-on" << true << true << false;
        QTest::newRow("debug off, marker") << "main-debug-off" << true << false << true;
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
        savePicture(shown.window);

        const QVariantList sections = shown.screen->sections();
        int drawnRows = 0;
        for (int s = 0; s < sections.size(); ++s) {
            QQuickItem* header = itemNamed(view, QString("header_%1").arg(s));
            QVERIFY(header);
            QCOMPARE(header->property("title").toString(), sections[s].toMap()["title"].toString());
            QCOMPARE(header->height(), s == 0 ? 40.0 : 26.0);
            const QVariantList rows = sections[s].toMap()["rows"].toList();
            for (int r = 0; r < rows.size(); ++r, ++drawnRows) compareCell(view, s, r, rows[r].toMap());
        }
        QCOMPARE(itemsNamed(view, "row_").size(), drawnRows);
    }

    void tappingTheBootSwitchWritesTheMarker() {
        Shown shown;
        _runtimeStatusLoaded = true;
        shown.screen->refreshData();
        QQuickItem* cell = itemNamed(shown.screen->view(), "row_1_2");
        QVERIFY(cell);
        QQuickItem* sw = itemNamed(cell, "switch");
        QVERIFY(sw && sw->isEnabled());
        const QPointF centre = sw->mapToScene(QPointF(sw->width() / 2, sw->height() / 2));
        QTest::mouseClick(shown.window.quickWindow(), Qt::LeftButton, {}, centre.toPoint());
        QTRY_VERIFY(QFile::exists(markerPath()));
        QVERIFY(sw->property("checked").toBool());
    }

private:
    static void compareCell(QQuickItem* view, int s, int r, const QVariantMap& row) {
        const QString name = QString("row_%1_%2").arg(s).arg(r);
        QQuickItem* cell = itemNamed(view, name);
        QVERIFY2(cell, qPrintable(name));
        QCOMPARE(cell->property("text").toString(), row["l"].toString());
        QCOMPARE(cell->property("secondaryText").toString(), row["v"].toString());
        QCOMPARE(cell->property("symbol").toString(), row["i"].toString());
        QQuickItem* sw = itemNamed(cell, "switch");
        QVERIFY(sw);
        QCOMPARE(sw->isVisible(), row.contains("sw"));
        if (!row.contains("sw")) return;
        QCOMPARE(sw->property("checked").toBool(), row["sw"].toBool());
        QCOMPARE(sw->isEnabled(), !row.value("disabled").toBool());
    }

    // BRISKO_MAIN_SCREEN_PICTURES=DIR keeps what the view drew, to look at.
    static void savePicture(ui::Window& window) {
        const QString folder = qEnvironmentVariable("BRISKO_MAIN_SCREEN_PICTURES");
        if (folder.isEmpty()) return;
        QDir().mkpath(folder);
        QTest::qWait(300);
        window.grab().save(QString("%1/%2.png").arg(folder, QTest::currentDataTag()));
    }
};

QTEST_MAIN(MainScreenTest)
#include "tst_main_screen.moc"
