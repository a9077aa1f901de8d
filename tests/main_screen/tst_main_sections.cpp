// The main screen's model in each state of the status, and how the table draws it.

#include "main_screen/main_sections.h"
#include "main_screen/table_rows.h"

#include <QtTest>

using namespace brisko;

namespace {

BKDeviceFacts sampleDevice() {
    return {.systemName = "Debian GNU/Linux 12 (bookworm)",
            .machine = "ThinkPad X1",
            .serial = QVariant("PF2ABCDE"),
            .screenSize = QSizeF(390, 844),
            .screenScale = 3,
            .storageFree = 13421772800,
            .storageTotal = 68719476736, // 12.5 and 64 GiB
            .memoryUsed = 1610612736,
            .memoryTotal = 8589934592};
}

QVariantMap rowAt(const QVariantList& sections, int section, int row) {
    return sections[section].toMap()["rows"].toList()[row].toMap();
}

} // namespace

class MainSectionsTest : public QObject {
    Q_OBJECT

  private slots:
    void deviceAndAboutRows() {
        BKMainScreenState state;
        state.bundleIdentifier = "com.brisko.app";
        const QVariantList sections = BKMainSections(sampleDevice(), state);
        QCOMPARE(sections.size(), 3);
        QCOMPARE(sections[0].toMap()["title"].toString(), QString("设备信息"));
        QStringList deviceRows;
        for (const QVariant& row : sections[0].toMap()["rows"].toList())
            deviceRows << row.toMap()["l"].toString() + ": " + row.toMap()["v"].toString();
        QCOMPARE(deviceRows, QStringList({"系统版本: Debian GNU/Linux 12 (bookworm)", "设备型号: ThinkPad X1",
                                          "序列号: PF2ABCDE", "屏幕分辨率: 1170 × 2532 (3x)",
                                          "存储状态: 12.5 GB / 64.0 GB", "内存状态: 1.5 GB / 8.0 GB"}));
        QCOMPARE(sections[2].toMap()["title"].toString(), QString("关于"));
        QCOMPARE(rowAt(sections, 2, 1)["v"].toString(), QString("com.brisko.app"));

        BKDeviceFacts device = sampleDevice(); // no serial, no bundle identifier
        device.serial = QVariant();
        const QVariantList bare = BKMainSections(device, BKMainScreenState{});
        QCOMPARE(rowAt(bare, 0, 2)["v"].toString(), QString("-"));
        QCOMPARE(rowAt(bare, 2, 1)["v"].toString(), QString("-"));
    }

    void resolution() {
        QCOMPARE(BKResolutionText(QSizeF(375, 667), 2), QString("750 × 1334 (2x)"));
        QCOMPARE(BKResolutionText(QSizeF(1280, 800), 1.5), QString("1920 × 1200 (2x)"));
    }

    // Flags: loaded, busy, on, client, privileged, marker, wifi; waiting and closed set the status text.
    void toolRows_data() {
        QTest::addColumn<QString>("flags");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<QString>("debug"); // text, switch, and whether it is disabled
        QTest::addColumn<QString>("last");  // the service address, or the boot switch's state
        const QStringList address{"文件管理", "调试模式", "服务地址"},
            boot{"文件管理", "调试模式", "开机自启"};
        const QString idle = "用于让开发者连接设备进行调试", waiting = "--:8820（等待连接...）";
        const auto row = [](const char* name, const char* flags, const QStringList& rows,
                            const QString& debug, const QString& last) {
            QTest::newRow(name) << QString(flags) << rows << debug << last;
        };
        row("before any answer", "", boot, "读取状态中... off disabled", "off");
        row("idle, marker present", "loaded marker", boot, idle + " off", "on");
        row("busy switching on", "loaded busy on", address, "切换中... on disabled", waiting);
        row("on, no Wi-Fi, status unset, no client", "loaded on", address, idle + " on", waiting);
        row("on, Wi-Fi, status unset, client", "loaded on client wifi", address, idle + " on",
            "192.168.1.20:8820（已连接）");
        row("on, status set wins over the client", "loaded on client waiting", address, idle + " on",
            waiting);
        row("off, ordinary install", "loaded closed", boot, idle + " off", "off");
        row("off, privileged install", "loaded privileged marker", {"文件管理", "调试模式"}, idle + " off",
            "");
    }
    void toolRows() {
        QFETCH(QString, flags);
        QFETCH(QStringList, rows);
        const QStringList f = flags.split(' ');
        const QString status = f.contains("waiting")  ? "等待连接..."
                               : f.contains("closed") ? "已关闭"
                                                      : QString();
        const BKMainScreenState state{
            .statusLoaded = f.contains("loaded"),
            .toggleBusy = f.contains("busy"),
            .debugEnabled = f.contains("on"),
            .clientConnected = f.contains("client"),
            .debugStatus = status,
            .privilegedInstall = f.contains("privileged"),
            .bundleIdentifier = {},
            .wifiAddress = [&] { return f.contains("wifi") ? "192.168.1.20" : QString(); },
            .bootMarkerExists = [&] { return f.contains("marker"); }};
        const QVariantList sections = BKMainSections(sampleDevice(), state);

        QCOMPARE(sections[1].toMap()["title"].toString(), QString("工具"));
        QStringList labels;
        for (const QVariant& row : sections[1].toMap()["rows"].toList())
            labels << row.toMap()["l"].toString();
        QCOMPARE(labels, rows);
        const QVariantMap debug = rowAt(sections, 1, 1), last = rowAt(sections, 1, rows.size() - 1);
        QTEST(debug["v"].toString() + (debug["sw"].toBool() ? " on" : " off") +
                  (debug["disabled"].toBool() ? " disabled" : ""),
              "debug");
        if (rows.last() == "服务地址") QTEST(last["v"].toString(), "last");
        if (rows.last() == "开机自启") QTEST(QString(last["sw"].toBool() ? "on" : "off"), "last");
        // The view routes taps and switches by these.
        QCOMPARE(rowAt(sections, 1, 0)["act"].toString() + debug["act"].toString(),
                 QString("filesdebug_toggle"));
        if (rows.last() == "开机自启") QCOMPARE(last["act"].toString(), QString("boot_toggle"));
    }
};

QTEST_GUILESS_MAIN(MainSectionsTest)
#include "tst_main_sections.moc"
