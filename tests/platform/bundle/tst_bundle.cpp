// Info.plist reading and the bundle's folders, including property lists that are not well formed.

#include "platform/bundle/bundle.h"
#include "platform/bundle/plist.h"
#include "tests/support/test_files.h"

#include <QtTest>

using namespace brisko::bundle;
using brisko::testing::writeFile;

class BundleTest : public QObject {
    Q_OBJECT

  private slots:
    void parsesPropertyLists_data() {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");

        const auto row = [](const char* name, const QByteArray& xml, const char* key, const QVariant& value) {
            QTest::newRow(name) << xml << QString(key) << value;
        };
        const QByteArray head = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>",
                         tail = "</dict></plist>";
        const QByteArray thenAfter = "<key>after</key><string>yes</string>" + tail;
        row("utf-8 string", head + "<key>CFBundleDisplayName</key><string>脚本</string>" + tail,
            "CFBundleDisplayName", "脚本");
        row("integer", head + "<key>n</key><integer>42</integer>" + tail, "n", qlonglong(42));
        row("true", head + "<key>b</key><true/>" + tail, "b", true);
        row("after nested dict", head + "<key>d</key><dict><key>x</key><string>1</string></dict>" + thenAfter,
            "after", "yes");
        row("after array", head + "<key>a</key><array><string>1</string><true/></array>" + thenAfter, "after",
            "yes");
        row("entities", head + "<key>k</key><string>a &amp; b</string>" + tail, "k", "a & b");
        row("truncated keeps what was read", head + "<key>k</key><string>v</string><key>x</key><str", "k",
            "v");
        row("value without key is dropped",
            head + "<string>lost</string><key>k</key><string>v</string>" + tail, "k", "v");
        row("not a plist", "garbage \x01\x02", "k", {});
        row("empty", {}, "k", {});
    }

    void parsesPropertyLists() {
        QFETCH(QByteArray, xml);
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QCOMPARE(parsePropertyList(xml).value(key), value);
    }

    void readsTheBundlesInfoPlist() {
        QTemporaryDir dir;
        setBundlePathForTesting(dir.path());
        QCOMPARE(bundleIdentifier(), QString()); // no Info.plist
        QVERIFY(writeFile(dir.filePath("Info.plist"),
                          "<plist><dict><key>CFBundleIdentifier</key><string>com.brisko.app</string>"
                          "<key>CFBundleVersion</key><integer>3</integer></dict></plist>"));
        QCOMPARE(bundleIdentifier(), QString("com.brisko.app"));
        QCOMPARE(infoString("CFBundleVersion"), QString()); // not a string
        setBundlePathForTesting(QString());
        QCOMPARE(bundlePath(), QCoreApplication::applicationDirPath());
    }
};

QTEST_GUILESS_MAIN(BundleTest)
#include "tst_bundle.moc"
