// The main screen's model in each state of the status, and how the table draws it.

#include "main_screen/main_sections.h"
#include "main_screen/table_rows.h"

#include <QTest>

using namespace brisko;

namespace {

BKDeviceFacts sampleDevice() {
    BKDeviceFacts d;
    d.systemName = "Debian GNU/Linux 12 (bookworm)";
    d.machine = "ThinkPad X1";
    d.serial = QVariant("PF2ABCDE");
    d.screenSize = QSizeF(390, 844);
    d.screenScale = 3;
    d.storageFree = 13421772800; // 12.5 GiB
    d.storageTotal = 68719476736; // 64 GiB
    d.memoryUsed = 1610612736;
    d.memoryTotal = 8589934592;
    return d;
}

QVariantMap rowAt(const QVariantList& sections, int section, int row) {
    return sections[section].toMap()["rows"].toList()[row].toMap();
}

QStringList labels(const QVariantList& sections, int section) {
    QStringList result;
    for (const QVariant& row : sections[section].toMap()["rows"].toList()) result << row.toMap()["l"].toString();
    return result;
}

// Status inputs, written compactly in the table below.
struct Status {
    bool loaded = false, busy = false, enabled = false, connected = false, privileged = false, marker = false;
    QString debugStatus;
    QString wifi;
};

} // namespace

Q_DECLARE_METATYPE(Status)

class MainSectionsTest : public QObject {
    Q_OBJECT

private slots:
    void deviceAndAboutRows() {
        BKMainScreenState state;
        state.bundleIdentifier = "com.brisko.app";
        const QVariantList sections = BKMainSections(sampleDevice(), state);
        QCOMPARE(sections.size(), 3);
        QCOMPARE(sections[0].toMap()["title"].toString(), QString("设备信息"));
        QCOMPARE(sections[2].toMap()["title"].toString(), QString("关于"));
        const QStringList expected[] = {
            {"系统版本", "Debian GNU/Linux 12 (bookworm)", "gear", "systemGray"},
            {"设备型号", "ThinkPad X1", "iphone", "systemPurple"},
            {"序列号", "PF2ABCDE", "barcode", "systemRed"},
            {"屏幕分辨率", "1170 × 2532 (3x)", "rectangle.dashed", "systemTeal"},
            {"存储状态", "12.5 GB / 64.0 GB", "internaldrive", "systemGreen"},
            {"内存状态", "1.5 GB / 8.0 GB", "memorychip", "systemOrange"},
        };
        for (int i = 0; i < 6; ++i) {
            const QVariantMap row = rowAt(sections, 0, i);
            QCOMPARE(QStringList({row["l"].toString(), row["v"].toString(), row["i"].toString(), row["c"].toString()}),
                     expected[i]);
            QCOMPARE(row.size(), 4); // no action, no switch
        }
        QCOMPARE(rowAt(sections, 2, 0)["v"].toString(), QString("1.1.0"));
        QCOMPARE(rowAt(sections, 2, 1)["v"].toString(), QString("com.brisko.app"));
    }

    void missingSerialAndIdentifierShowADash() {
        BKDeviceFacts device = sampleDevice();
        device.serial = QVariant();
        const QVariantList sections = BKMainSections(device, BKMainScreenState{});
        QCOMPARE(rowAt(sections, 0, 2)["v"].toString(), QString("-"));
        QCOMPARE(rowAt(sections, 2, 1)["v"].toString(), QString("-"));
        device.storageFree = device.storageTotal = 0;
        QCOMPARE(rowAt(BKMainSections(device, {}), 0, 4)["v"].toString(), QString("0 MB / 0 MB"));
    }

    void resolution_data() {
        QTest::addColumn<QSizeF>("points");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QString>("text");
        QTest::newRow("phone at 3x") << QSizeF(390, 844) << 3.0 << "1170 × 2532 (3x)";
        QTest::newRow("phone at 2x") << QSizeF(375, 667) << 2.0 << "750 × 1334 (2x)";
        QTest::newRow("fractional scale") << QSizeF(1280, 800) << 1.5 << "1920 × 1200 (2x)";
    }
    void resolution() {
        QFETCH(QSizeF, points);
        QFETCH(double, scale);
        QTEST(BKResolutionText(points, scale), "text");
    }

    void toolRows_data() {
        QTest::addColumn<Status>("status");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<QString>("debugText");
        QTest::addColumn<bool>("debugSwitch");
        QTest::addColumn<bool>("debugDisabled");
        QTest::addColumn<QString>("lastValue"); // the service address, or the boot switch's state
        const QStringList withAddress{"文件管理", "调试模式", "服务地址"};
        const QStringList withBoot{"文件管理", "调试模式", "开机自启"};
        const QStringList bare{"文件管理", "调试模式"};
        const QString reading = "读取状态中...", idle = "用于让开发者连接设备进行调试", busy = "切换中...";
        auto s = [](auto set) { Status st; set(st); return st; };

        QTest::newRow("before any answer") << Status{} << withBoot << reading << false << true << "off";
        QTest::newRow("before any answer, privileged") << s([](Status& x) { x.privileged = true; }) << bare
                                                       << reading << false << true << "";
        QTest::newRow("idle, marker present") << s([](Status& x) { x.loaded = x.marker = true; }) << withBoot << idle
                                              << false << false << "on";
        QTest::newRow("busy switching on") << s([](Status& x) { x.loaded = x.busy = x.enabled = true; })
                                           << withAddress << busy << true << true << "--:8820（等待连接...）";
        QTest::newRow("busy before an answer reads busy")
            << s([](Status& x) { x.busy = true; }) << withBoot << busy << false << true << "off";
        QTest::newRow("on, no Wi-Fi, status unset, no client")
            << s([](Status& x) { x.loaded = x.enabled = true; }) << withAddress << idle << true << false
            << "--:8820（等待连接...）";
        QTest::newRow("on, status unset, client connected")
            << s([](Status& x) { x.loaded = x.enabled = x.connected = true; x.wifi = "192.168.1.20"; })
            << withAddress << idle << true << false << "192.168.1.20:8820（已连接）";
        QTest::newRow("on, status set wins over the client flag")
            << s([](Status& x) { x.loaded = x.enabled = x.connected = true; x.debugStatus = "等待连接..."; })
            << withAddress << idle << true << false << "--:8820（等待连接...）";
        QTest::newRow("on, privileged: address, no boot row")
            << s([](Status& x) { x.loaded = x.enabled = x.privileged = x.marker = true; x.debugStatus = "已连接"; })
            << withAddress << idle << true << false << "--:8820（已连接）";
        QTest::newRow("off, ordinary install") << s([](Status& x) { x.loaded = true; x.debugStatus = "已关闭"; })
                                               << withBoot << idle << false << false << "off";
        QTest::newRow("off, privileged install") << s([](Status& x) { x.loaded = x.privileged = x.marker = true; })
                                                 << bare << idle << false << false << "";
    }
    void toolRows() {
        QFETCH(Status, status);
        int wifiReads = 0, markerReads = 0;
        BKMainScreenState state;
        state.statusLoaded = status.loaded;
        state.toggleBusy = status.busy;
        state.debugEnabled = status.enabled;
        state.clientConnected = status.connected;
        state.debugStatus = status.debugStatus;
        state.privilegedInstall = status.privileged;
        state.wifiAddress = [&] { ++wifiReads; return status.wifi; };
        state.bootMarkerExists = [&] { ++markerReads; return status.marker; };
        const QVariantList sections = BKMainSections(sampleDevice(), state);

        QCOMPARE(sections[1].toMap()["title"].toString(), QString("工具"));
        QTEST(labels(sections, 1), "rows");
        const QVariantMap debug = rowAt(sections, 1, 1);
        QTEST(debug["v"].toString(), "debugText");
        QTEST(debug["sw"].toBool(), "debugSwitch");
        QTEST(debug["disabled"].toBool(), "debugDisabled");
        QCOMPARE(debug["act"].toString(), QString("debug_toggle"));
        QCOMPARE(rowAt(sections, 1, 0)["act"].toString(), QString("files"));

        QFETCH(QStringList, rows);
        QFETCH(QString, lastValue);
        const QVariantMap last = rowAt(sections, 1, rows.size() - 1);
        if (rows.last() == "服务地址") {
            QCOMPARE(last["v"].toString(), lastValue);
            QVERIFY(!last.contains("act") && !last.contains("sw"));
        } else if (rows.last() == "开机自启") {
            QCOMPARE(last["sw"].toBool() ? "on" : "off", lastValue);
            QCOMPARE(last["act"].toString(), QString("boot_toggle"));
            QVERIFY(!last.contains("disabled"));
        }
        // Each source is read only when its row shows.
        QCOMPARE(wifiReads, rows.contains("服务地址") ? 1 : 0);
        QCOMPARE(markerReads, rows.contains("开机自启") ? 1 : 0);
    }

    void tableDrawing() {
        BKMainScreenState state;
        state.statusLoaded = true;
        QVariantList sections = BKMainSections(sampleDevice(), state);
        QVariantMap unknown{{"l", "x"}, {"v", "y"}, {"i", "gear"}, {"c", "systemPink"}};
        QVariantMap about = sections[2].toMap();
        about["rows"] = about["rows"].toList() << unknown;
        sections[2] = about;
        sections << QVariantMap{{"title", ""}, {"rows", QVariantList{}}};

        const QVariantList table = BKTableSections(sections);
        QCOMPARE(table.size(), 4);
        const double heights[] = {40, 26, 26, 26};
        for (int i = 0; i < 4; ++i) QCOMPARE(table[i].toMap()["headerHeight"].toDouble(), heights[i]);
        QVERIFY(!table[3].toMap()["showsHeader"].toBool());

        auto drawn = [&](int s, int r) { return table[s].toMap()["rows"].toList()[r].toMap(); };
        const QVariantMap value = drawn(0, 0), files = drawn(1, 0), debug = drawn(1, 1), boot = drawn(1, 2);
        QCOMPARE(value["style"].toString() + value["accessory"].toString() + value["tint"].toString(),
                 QString("valuenonesystemGray"));
        QVERIFY(!value["selectable"].toBool());
        QCOMPARE(files["style"].toString() + files["accessory"].toString(), QString("subtitledisclosure"));
        QVERIFY(files["selectable"].toBool());
        QCOMPARE(debug["accessory"].toString(), QString("switch"));
        QVERIFY(debug["switchEnabled"].toBool() && !debug["selectable"].toBool());
        QVERIFY(boot["switchEnabled"].toBool());
        QCOMPARE(drawn(2, 2)["tint"].toString(), QString("systemBlue"));
    }
};

QTEST_GUILESS_MAIN(MainSectionsTest)
#include "tst_main_sections.moc"
