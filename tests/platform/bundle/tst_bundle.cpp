// Info.plist reading and the bundle's folders, including property lists that are not well formed.

#include "platform/bundle/bundle.h"
#include "platform/bundle/plist.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko::bundle;

class BundleTest : public QObject {
    Q_OBJECT

  private slots:
    void parsesPropertyLists_data() {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");

        const QByteArray head = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
        QTest::newRow("utf-8 string")
            << head + "<dict><key>CFBundleDisplayName</key><string>脚本</string></dict></plist>"
            << "CFBundleDisplayName" << QVariant("脚本");
        QTest::newRow("integer") << head + "<dict><key>n</key><integer>42</integer></dict></plist>"
                                 << "n" << QVariant(qlonglong(42));
        QTest::newRow("true") << head + "<dict><key>b</key><true/></dict></plist>"
                              << "b" << QVariant(true);
        QTest::newRow("after nested dict")
            << head + "<dict><key>d</key><dict><key>x</key><string>1</string></dict>"
                      "<key>after</key><string>yes</string></dict></plist>"
            << "after" << QVariant("yes");
        QTest::newRow("after array") << head + "<dict><key>a</key><array><string>1</string><true/></array>"
                                               "<key>after</key><string>yes</string></dict></plist>"
                                     << "after" << QVariant("yes");
        QTest::newRow("entities") << head + "<dict><key>k</key><string>a &amp; b</string></dict></plist>"
                                  << "k" << QVariant("a & b");
        QTest::newRow("truncated keeps what was read")
            << head + "<dict><key>k</key><string>v</string><key>x</key><str"
            << "k" << QVariant("v");
        QTest::newRow("value without key is dropped")
            << head + "<dict><string>lost</string><key>k</key><string>v</string></dict>"
            << "k" << QVariant("v");
        QTest::newRow("not a plist") << QByteArray("garbage \x01\x02") << "k" << QVariant();
        QTest::newRow("empty") << QByteArray() << "k" << QVariant();
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
        QFile plist(dir.filePath("Info.plist"));
        QVERIFY(plist.open(QIODevice::WriteOnly));
        plist.write("<plist><dict><key>CFBundleIdentifier</key><string>com.brisko.app</string>"
                    "<key>CFBundleVersion</key><integer>3</integer></dict></plist>");
        plist.close();
        QCOMPARE(bundleIdentifier(), QString("com.brisko.app"));
        QCOMPARE(infoString("CFBundleVersion"), QString()); // not a string
        setBundlePathForTesting(QString());
        QCOMPARE(bundlePath(), QCoreApplication::applicationDirPath());
    }
};

QTEST_GUILESS_MAIN(BundleTest)
#include "tst_bundle.moc"
