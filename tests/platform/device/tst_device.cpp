// Device facts read from fake /sys, /proc and /etc trees, and the byte formatter.

#include "platform/device/device.h"
#include "platform/device/memory.h"
#include "platform/device/network.h"
#include "platform/device/system_files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/utsname.h>

using namespace brisko;

namespace {

using Files = QMap<QString, QByteArray>; // system path -> content

class FakeRoot {
public:
    explicit FakeRoot(const Files& files) {
        for (auto it = files.begin(); it != files.end(); ++it) write(it.key(), it.value());
        device::setSystemRootForTesting(m_dir.path());
    }
    ~FakeRoot() { device::setSystemRootForTesting(QString()); }

private:
    void write(const QString& path, const QByteArray& content) {
        const QString full = m_dir.path() + path;
        QDir().mkpath(QFileInfo(full).path());
        QFile file(full);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QTemporaryDir m_dir;
};

QString unameMachine() {
    utsname name{};
    uname(&name);
    return QString::fromUtf8(name.machine);
}

const QString kDmiName = "/sys/class/dmi/id/product_name";
const QString kDmiSerial = "/sys/class/dmi/id/product_serial";
const QString kTreeModel = "/proc/device-tree/model";
const QString kTreeSerial = "/proc/device-tree/serial-number";

} // namespace

class DeviceTest : public QObject {
    Q_OBJECT

private slots:
    void formatBytes_data() {
        QTest::addColumn<quint64>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << quint64(0) << "0 MB";
        QTest::newRow("half a mebibyte rounds down") << quint64(524288) << "0 MB";
        QTest::newRow("one mebibyte") << quint64(1048576) << "1 MB";
        QTest::newRow("just below 2^30 stays in MB") << quint64(1073741823) << "1024 MB";
        QTest::newRow("2^30") << quint64(1073741824) << "1.0 GB";
        QTest::newRow("1.5 GiB") << quint64(1610612736) << "1.5 GB";
        QTest::newRow("largest count") << quint64(UINT64_MAX) << "17179869184.0 GB";
    }
    void formatBytes() {
        QFETCH(quint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(BKFormatBytes(bytes), text);
    }

    void machineAndSerial_data() {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QString>("machine");
        QTest::addColumn<QVariant>("serial");
        const QVariant none;
        QTest::newRow("PC with DMI")
            << Files{{kDmiName, "ThinkPad X1 Carbon\n"}, {kDmiSerial, "PF2ABCDE\n"}} << "ThinkPad X1 Carbon"
            << QVariant("PF2ABCDE");
        QTest::newRow("board with a device tree")
            << Files{{kTreeModel, QByteArray("Raspberry Pi 4 Model B Rev 1.4\0", 31)},
                     {kTreeSerial, QByteArray("10000000abcdef01\0", 17)}}
            << "Raspberry Pi 4 Model B Rev 1.4" << QVariant("10000000abcdef01");
        QTest::newRow("blank DMI falls through to the device tree")
            << Files{{kDmiName, "  \n"}, {kDmiSerial, "\n"}, {kTreeModel, "Board"}, {kTreeSerial, "S1"}}
            << "Board" << QVariant("S1");
        QTest::newRow("nothing readable") << Files{} << unameMachine() << none;
    }
    void machineAndSerial() {
        QFETCH(Files, files);
        FakeRoot root(files);
        QTEST(BKDeviceMachine(), "machine");
        QTEST(BKMobileGestaltValue("SerialNumber"), "serial");
        QVERIFY(BKMobileGestaltValue("ProductType").isNull());
    }

    void operatingSystemName_data() {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QString>("name");
        QTest::newRow("pretty name")
            << Files{{"/etc/os-release", "NAME=\"Debian GNU/Linux\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n"}}
            << "Debian GNU/Linux 12 (bookworm)";
        QTest::newRow("single quotes") << Files{{"/etc/os-release", "PRETTY_NAME='Arch Linux'\n"}} << "Arch Linux";
        QTest::newRow("name and version") << Files{{"/etc/os-release", "NAME=Fedora\nVERSION=\"39 (Workstation)\"\n"}}
                                          << "Fedora 39 (Workstation)";
        QTest::newRow("vendor file") << Files{{"/usr/lib/os-release", "PRETTY_NAME=\"Ubuntu 24.04 LTS\"\n"}}
                                     << "Ubuntu 24.04 LTS";
        QTest::newRow("neither") << Files{} << "Linux";
    }
    void operatingSystemName() {
        QFETCH(Files, files);
        FakeRoot root(files);
        QTEST(BKOperatingSystemName(), "name");
    }

    void memory_data() {
        QTest::addColumn<Files>("files");
        QTest::addColumn<quint64>("physical");
        QTest::addColumn<quint64>("used");
        const QByteArray meminfo = "MemTotal:        8000000 kB\nMemFree:         1000000 kB\n"
                                   "Active:          3000000 kB\nInactive:        2000000 kB\n"
                                   "Active(anon):    2000000 kB\nActive(file):    1000000 kB\n"
                                   "Unevictable:        1000 kB\nMlocked:             500 kB\n"
                                   "SUnreclaim:        20000 kB\nKernelStack:        3000 kB\n"
                                   "PageTables:         6000 kB\nHugePages_Total:       0\n";
        QTest::newRow("full") << Files{{"/proc/meminfo", meminfo}} << quint64(8000000) * 1024
                              << quint64(3000000 + 1000 + 20000 + 3000 + 6000) * 1024;
        QTest::newRow("old kernel without the pinned fields")
            << Files{{"/proc/meminfo", "MemTotal: 1024 kB\nActive: 512 kB\n"}} << quint64(1024 * 1024)
            << quint64(512 * 1024);
        QTest::newRow("garbage") << Files{{"/proc/meminfo", "MemTotal: lots\n:\nActive\n"}} << quint64(0)
                                 << quint64(0);
        QTest::newRow("unreadable") << Files{} << quint64(0) << quint64(0);
    }
    void memory() {
        QFETCH(Files, files);
        FakeRoot root(files);
        const BKMemoryUsage usage = BKReadMemoryUsage();
        QTEST(quint64(usage.physical), "physical");
        QTEST(quint64(usage.used), "used");
    }

    void wifiAddress_data() {
        QTest::addColumn<QList<BKInterfaceAddress>>("addresses");
        QTest::addColumn<QString>("address");
        const BKInterfaceAddress wlanV6{"wlan0", AF_INET6, "fe80::1"};
        const BKInterfaceAddress wlanA{"wlan0", AF_INET, "192.168.1.20"};
        const BKInterfaceAddress wlanB{"wlan0", AF_INET, "192.168.1.21"};
        const BKInterfaceAddress eth{"eth0", AF_INET, "10.0.0.2"};
        const BKInterfaceAddress phy{"wlp2s0", AF_INET, "172.16.0.9"};
        QTest::newRow("wired only") << QList{eth} << QString();
        QTest::newRow("IPv6-only wireless link") << QList{wlanV6, eth} << QString();
        QTest::newRow("first of several on the link") << QList{eth, wlanV6, wlanA, wlanB} << "192.168.1.20";
        QTest::newRow("wireless found by its phy") << QList{eth, phy} << "172.16.0.9";
        QTest::newRow("name escaping the tree") << QList<BKInterfaceAddress>{{"../net/wlan0", AF_INET, "1.2.3.4"}}
                                                << QString();
    }
    void wifiAddress() {
        QFETCH(QList<BKInterfaceAddress>, addresses);
        FakeRoot root({{"/sys/class/net/wlan0/wireless/link", ""},
                       {"/sys/class/net/wlp2s0/phy80211/index", "0"},
                       {"/sys/class/net/eth0/address", "00:11:22:33:44:55"}});
        QTEST(BKFirstWirelessIPv4(addresses), "address");
    }

    void fileSystemSpace() {
        QTemporaryDir dir;
        const BKFileSystemSpace space = BKFileSystemSpaceForPath(dir.path());
        QVERIFY(space.total > 0);
        QVERIFY(space.free <= space.total);
        const BKFileSystemSpace missing = BKFileSystemSpaceForPath(dir.path() + "/missing");
        QCOMPARE(missing.total, uint64_t(0));
        QCOMPARE(missing.free, uint64_t(0));
    }
};

QTEST_GUILESS_MAIN(DeviceTest)
#include "tst_device.moc"
