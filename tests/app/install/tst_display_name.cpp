#include "app/install/display_name.h"
#include "app/install/strings_file.h"
#include "platform/bundle/bundle.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko;

namespace {

QByteArray plistWith(const QVariantMap& keys) {
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (auto it = keys.cbegin(); it != keys.cend(); ++it)
        xml += "<key>" + it.key().toUtf8() + "</key><string>" + it.value().toString().toUtf8() + "</string>\n";
    return xml + "</dict>\n</plist>\n";
}

bool writeFile(const QString& path, const QByteArray& data) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

} // namespace

using Files = QMap<QString, QByteArray>; // bundle-relative path -> content
Q_DECLARE_METATYPE(Files)

class TestDisplayName : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::SimplifiedHanScript, QLocale::China)); }
    void cleanup() { bundle::setBundlePathForTesting({}); }
    void displayName_data();
    void displayName();
    void stringsFile_data();
    void stringsFile();
};

void TestDisplayName::displayName_data() {
    QTest::addColumn<Files>("files");
    QTest::addColumn<QString>("expected");
    const QByteArray both = plistWith({{"CFBundleDisplayName", "速点"}, {"CFBundleName", "BriskoName"}});
    const QByteArray nameOnly = plistWith({{"CFBundleName", "BriskoName"}});
    const QByteArray localizedName = "\"CFBundleDisplayName\" = \"布里斯科\";\n";

    QTest::newRow("display name first") << Files{{"Info.plist", both}} << "速点";
    QTest::newRow("falls back to bundle name") << Files{{"Info.plist", nameOnly}} << "BriskoName";
    QTest::newRow("empty display name skipped")
        << Files{{"Info.plist", plistWith({{"CFBundleDisplayName", ""}, {"CFBundleName", "BriskoName"}})}} << "BriskoName";
    QTest::newRow("neither key") << Files{{"Info.plist", plistWith({{"CFBundleIdentifier", "x"}})}} << "Brisko";
    QTest::newRow("no property list") << Files{} << "Brisko";
    QTest::newRow("script folder localizes") << Files{{"Info.plist", both}, {"zh-Hans.lproj/InfoPlist.strings", localizedName}} << "布里斯科";
    QTest::newRow("underscore folder localizes") << Files{{"Info.plist", both}, {"zh_CN.lproj/InfoPlist.strings", localizedName}} << "布里斯科";
    QTest::newRow("base folder localizes") << Files{{"Info.plist", both}, {"Base.lproj/InfoPlist.strings", localizedName}} << "布里斯科";
    QTest::newRow("other language ignored") << Files{{"Info.plist", both}, {"en.lproj/InfoPlist.strings", localizedName}} << "速点";
    QTest::newRow("more specific language wins")
        << Files{{"Info.plist", both},
                 {"zh.lproj/InfoPlist.strings", "CFBundleDisplayName = \"zh\";"},
                 {"zh-Hans.lproj/InfoPlist.strings", "CFBundleDisplayName = \"zh-Hans\";"}}
        << "zh-Hans";
    QTest::newRow("localized bundle name does not beat display name")
        << Files{{"Info.plist", both}, {"zh-Hans.lproj/InfoPlist.strings", "\"CFBundleName\" = \"本地名\";"}} << "速点";
    QTest::newRow("localized bundle name without display name")
        << Files{{"Info.plist", nameOnly}, {"zh-Hans.lproj/InfoPlist.strings", "\"CFBundleName\" = \"本地名\";"}} << "本地名";
    QTest::newRow("empty localized value ignored")
        << Files{{"Info.plist", both}, {"zh-Hans.lproj/InfoPlist.strings", "\"CFBundleDisplayName\" = \"\";"}} << "速点";
}

void TestDisplayName::displayName() {
    QFETCH(Files, files);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    for (auto it = files.cbegin(); it != files.cend(); ++it) QVERIFY(writeFile(dir.filePath(it.key()), it.value()));
    bundle::setBundlePathForTesting(dir.path());
    QCOMPARE(BKApplicationDisplayName(), expected);
}

void TestDisplayName::stringsFile_data() {
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected"); // empty: key absent
    QStringEncoder utf16(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom);
    const QByteArray utf16File = utf16(QStringLiteral("/* name */\n\"CFBundleDisplayName\" = \"速点\";\n"));

    QTest::newRow("plain") << QByteArray("\"A\" = \"b\";") << "A" << "b";
    QTest::newRow("bare key, blanks") << QByteArray("  A\t=\n\"b\" ;\n") << "A" << "b";
    QTest::newRow("comments") << QByteArray("/* x = \"no\"; */ // A = \"no\";\nA = \"yes\"; /* end") << "A" << "yes";
    QTest::newRow("escapes") << QByteArray(R"("A" = "q\"t\\n\n\U901f";)") << "A" << "q\"t\\n\n速";
    QTest::newRow("utf-16 with byte-order mark") << utf16File << "CFBundleDisplayName" << "速点";
    QTest::newRow("missing semicolon drops pair") << QByteArray("A = \"1\"") << "A" << "";
    QTest::newRow("unterminated string") << QByteArray("A = \"1;") << "A" << "";
    QTest::newRow("truncated unicode escape") << QByteArray("A = \"\\U90") << "A" << "";
    QTest::newRow("garbage") << QByteArray("\xff\xfe\x00=;;\"") << "A" << "";
    QTest::newRow("xml form") << plistWith({{"A", "x"}}) << "A" << "x";
}

void TestDisplayName::stringsFile() {
    QFETCH(QByteArray, data);
    QFETCH(QString, key);
    QFETCH(QString, expected);
    QCOMPARE(parseStringsFile(data).value(key), expected);
}

QTEST_GUILESS_MAIN(TestDisplayName)
#include "tst_display_name.moc"
