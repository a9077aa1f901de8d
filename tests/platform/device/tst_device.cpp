// Device facts read from fake /sys, /proc and /etc trees, and the byte formatter.

#include "platform/device/device.h"
#include "platform/device/memory.h"
#include "platform/device/network.h"
#include "platform/device/system_files.h"
#include "tests/support/test_files.h"

#include <QtTest>

#include <sys/socket.h>
#include <sys/utsname.h>

using namespace brisko;

namespace {

using Files = QMap<QString, QByteArray>; // system path -> content

struct FakeRoot {
    QTemporaryDir dir;
    explicit FakeRoot(const Files& files) {
        for (auto it = files.begin(); it != files.end(); ++it)
            testing::writeFile(dir.path() + it.key(), it.value());
        device::setSystemRootForTesting(dir.path());
    }
    ~FakeRoot() { device::setSystemRootForTesting(QString()); }
};

const QString kDmiName = "/sys/class/dmi/id/product_name", kDmiSerial = "/sys/class/dmi/id/product_serial";
const QString kTreeModel = "/proc/device-tree/model", kTreeSerial = "/proc/device-tree/serial-number";

} // namespace

class DeviceTest : public QObject {
    Q_OBJECT

  private slots:
    void formatBytes_data() {
        QTest::addColumn<quint64>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("half a mebibyte rounds down") << quint64(524288) << "0 MB";
        QTest::newRow("just below 2^30 stays in MB") << quint64(1073741823) << "1024 MB";
        QTest::newRow("2^30") << quint64(1073741824) << "1.0 GB";
        QTest::newRow("1.5 GiB") << quint64(1610612736) << "1.5 GB";
        QTest::newRow("largest count") << quint64(UINT64_MAX) << "17179869184.0 GB";
    }
    void formatBytes() {
        QFETCH(quint64, bytes);
        QTEST(BKFormatBytes(bytes), "text");
    }

    void identity_data() {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QString>("machine");
        QTest::addColumn<QVariant>("serial");
        QTest::addColumn<QString>("system");
        const auto row = [](const char* name, const Files& files, const char* machine, const QVariant& serial,
                            const char* system) {
            QTest::newRow(name) << files << QString(machine) << serial << QString(system);
        };
        const QString osRelease = "/etc/os-release";
        utsname name{};
        uname(&name);
        row("PC with DMI",
            {{kDmiName, "ThinkPad X1\n"},
             {kDmiSerial, "PF2ABCDE\n"},
             {osRelease, "NAME=Debian\nPRETTY_NAME=\"Debian 12\"\nVERSION=12\n"}},
            "ThinkPad X1", "PF2ABCDE", "Debian 12");
        row("board with a device tree",
            {{kTreeModel, QByteArray("Raspberry Pi 4\0", 15)},
             {kTreeSerial, QByteArray("1000ab\0", 7)},
             {osRelease, "NAME=Fedora\nVERSION='39 (Workstation)'\n"}},
            "Raspberry Pi 4", "1000ab", "Fedora 39 (Workstation)");
        row("blank DMI falls through to the device tree",
            {{kDmiName, "  \n"}, {kDmiSerial, "\n"}, {kTreeModel, "Board"}, {kTreeSerial, "S1"}}, "Board",
            "S1", "Linux");
        row("nothing readable", {}, name.machine, {}, "Linux");
    }
    void identity() {
        QFETCH(Files, files);
        FakeRoot root(files);
        QTEST(BKDeviceMachine(), "machine");
        QTEST(BKMobileGestaltValue("SerialNumber"), "serial");
        QTEST(BKOperatingSystemName(), "system");
    }

    void memory_data() {
        QTest::addColumn<QByteArray>("meminfo");
        QTest::addColumn<quint64>("physicalKiB");
        QTest::addColumn<quint64>("usedKiB");
        QTest::newRow("full") << QByteArray(
                                     "MemTotal: 8000000 kB\nMemFree: 1000000 kB\nActive: 3000000 kB\n"
                                     "Inactive: 2000000 kB\nActive(anon): 2000000 kB\nUnevictable: 1000 kB\n"
                                     "Mlocked: 500 kB\nSUnreclaim: 20000 kB\nKernelStack: 3000 kB\n"
                                     "PageTables: 6000 kB\n")
                              << quint64(8000000) << quint64(3000000 + 1000 + 20000 + 3000 + 6000);
        QTest::newRow("unreadable") << QByteArray() << quint64(0) << quint64(0);
    }
    void memory() {
        QFETCH(QByteArray, meminfo);
        FakeRoot root(meminfo.isNull() ? Files{} : Files{{"/proc/meminfo", meminfo}});
        const BKMemoryUsage usage = BKReadMemoryUsage();
        QTEST(quint64(usage.physical / 1024), "physicalKiB");
        QTEST(quint64(usage.used / 1024), "usedKiB");
    }

    void wifiAddress_data() {
        QTest::addColumn<QList<BKInterfaceAddress>>("addresses");
        QTest::addColumn<QString>("address");
        const BKInterfaceAddress wlanV6{"wlan0", AF_INET6, "fe80::1"}, eth{"eth0", AF_INET, "10.0.0.2"};
        const BKInterfaceAddress wlanA{"wlan0", AF_INET, "192.168.1.20"},
            wlanB{"wlan0", AF_INET, "192.168.1.21"};
        QTest::newRow("wired and IPv6-only wireless") << QList{wlanV6, eth} << QString();
        QTest::newRow("first of several on the link") << QList{eth, wlanV6, wlanA, wlanB} << "192.168.1.20";
        QTest::newRow("wireless found by its phy")
            << QList{eth, {"wlp2s0", AF_INET, "172.16.0.9"}} << "172.16.0.9";
        QTest::newRow("name escaping the tree")
            << QList{BKInterfaceAddress{"../net/wlan0", AF_INET, "1.2.3.4"}} << QString();
    }
    void wifiAddress() {
        QFETCH(QList<BKInterfaceAddress>, addresses);
        FakeRoot root({{"/sys/class/net/wlan0/wireless/link", ""},
                       {"/sys/class/net/wlp2s0/phy80211/index", "0"},
                       {"/sys/class/net/eth0/address", "00:11:22:33:44:55"}});
        QTEST(BKFirstWirelessIPv4(addresses), "address");
    }
};

QTEST_GUILESS_MAIN(DeviceTest)
#include "tst_device.moc"
