// Where the application is installed, and the name it shows.

#include "app/install/display_name.h"
#include "app/install/install_location.h"
#include "app/install/strings_file.h"
#include "platform/bundle/bundle.h"
#include "tests/support/test_files.h"

#include <QtTest>

using namespace brisko;
using brisko::testing::writeFile;

namespace {

QByteArray plistWith(const QVariantMap& keys) {
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (auto it = keys.cbegin(); it != keys.cend(); ++it)
        xml +=
            "<key>" + it.key().toUtf8() + "</key><string>" + it.value().toString().toUtf8() + "</string>\n";
    return xml + "</dict>\n</plist>\n";
}

} // namespace

class TestInstall : public QObject {
    Q_OBJECT
    QTemporaryDir opt_{QStringLiteral("/opt/brisko-install-test-XXXXXX")}, tmp_;

  private slots:
    // Real links both ways across /opt; rows name the two folders as <opt> and <tmp>.
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::SimplifiedHanScript, QLocale::China));
        if (!opt_.isValid()) return;
        QVERIFY(QDir().mkpath(opt_.filePath("Example.app/Contents")));
        QVERIFY(QDir().mkpath(tmp_.filePath("Elsewhere.app")));
        QVERIFY(QFile::link(tmp_.filePath("Elsewhere.app"), tmp_.filePath("out")));
        QVERIFY(QFile::link(opt_.filePath("Example.app"), tmp_.filePath("in")));
        QVERIFY(QFile::link(tmp_.filePath("Elsewhere.app"), opt_.filePath("link")));
    }
    void cleanup() { bundle::setBundlePathForTesting({}); }

    void path_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("privileged");
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("applications") << "/Applications/Example.app" << true;
        QTest::newRow("applications folder itself") << "/Applications" << false;
        QTest::newRow("similar prefix") << "/ApplicationsX/Example.app" << false;
        QTest::newRow("relocated tree") << "/var/jb/Applications/Example.app" << true;
        QTest::newRow("preboot procursus")
            << "/private/preboot/ABC123/procursus/Applications/Example.app" << true;
        QTest::newRow("preboot without procursus")
            << "/private/preboot/ABC123/Applications/Example.app" << false;
        QTest::newRow("container") << "/private/var/containers/Bundle/Application/0A1B/Example.app" << false;
        QTest::newRow("opt") << "/opt/brisko" << true;
        QTest::newRow("relative") << "Applications/Example.app" << false;
        QTest::newRow("dot-dot into opt") << "/tmp/../opt/brisko" << true;
        QTest::newRow("dot-dot out of applications")
            << "/Applications/../home/Example.app" << true; // as written
        QTest::newRow("dot-dot out of usr") << "/usr/../etc/Example.app" << false;
        QTest::newRow("link to an ordinary folder") << "<tmp>/out" << false;
        QTest::newRow("link into opt") << "<tmp>/in" << true;
        QTest::newRow("below a link into opt") << "<tmp>/in/Contents" << true;
        QTest::newRow("link in opt pointing elsewhere") << "<opt>/link" << true;
    }
    void path() {
        QFETCH(QString, path);
        QFETCH(bool, privileged);
        if (path.startsWith('<') && !opt_.isValid()) QSKIP("/opt is not writable here");
        path.replace("<opt>", opt_.path()).replace("<tmp>", tmp_.path());
        QCOMPARE(BKPathLooksLikeJailbreakInstall(path), privileged);
    }

    // The test executable runs from the build tree, so only the bundle decides.
    void runningApp() {
        bundle::setBundlePathForTesting("/private/var/containers/Bundle/Application/0A1B/Example.app");
        QVERIFY(!BKIsJailbreakInstalledApp());
        bundle::setBundlePathForTesting("/opt/brisko");
        QVERIFY(BKIsJailbreakInstalledApp());
    }

    // Each listed .lproj folder gets the strings line with %1 replaced by its own name.
    void displayName_data() {
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<QString>("folders");
        QTest::addColumn<QString>("strings");
        QTest::addColumn<QString>("expected");
        const QByteArray both = plistWith({{"CFBundleDisplayName", "速点"}, {"CFBundleName", "BriskoName"}});
        const QByteArray emptyDisplay =
            plistWith({{"CFBundleDisplayName", ""}, {"CFBundleName", "BriskoName"}});
        const QString display = "\"CFBundleDisplayName\" = \"%1\";", name = "CFBundleName = \"%1\";";
        const auto row = [](const char* name, const QByteArray& info, const QString& folders,
                            const QString& strings, const QString& expected) {
            QTest::newRow(name) << info << folders << strings << expected;
        };
        row("display name first", both, "", "", "速点");
        row("empty display name skipped", emptyDisplay, "", "", "BriskoName");
        row("no property list", QByteArray(), "", "", "Brisko");
        row("script folder", both, "zh-Hans", display, "zh-Hans");
        row("underscore folder", both, "zh_CN", display, "zh_CN");
        row("base folder", both, "Base", display, "Base");
        row("other language", both, "en", display, "速点");
        row("most specific language wins", both, "zh,zh-Hans", display, "zh-Hans");
        row("localized name loses to display name", both, "zh-Hans", name, "速点");
        row("localized name beats plain one", emptyDisplay, "zh-Hans", name, "zh-Hans");
    }
    void displayName() {
        QFETCH(QByteArray, info);
        QFETCH(QString, folders);
        QFETCH(QString, strings);
        QTemporaryDir dir;
        if (!info.isEmpty()) QVERIFY(writeFile(dir.filePath("Info.plist"), info));
        for (const QString& lang : folders.split(',', Qt::SkipEmptyParts))
            QVERIFY(writeFile(dir.filePath(lang + ".lproj/InfoPlist.strings"),
                              QString(strings).replace("%1", lang).toUtf8()));
        bundle::setBundlePathForTesting(dir.path());
        QTEST(BKApplicationDisplayName(), "expected");
    }

    void stringsFile_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("value"); // of key A; empty: absent
        QStringEncoder utf16(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom);
        QTest::newRow("comments") << QByteArray("/* A = \"no\"; */ // A = \"no\";\nA = \"yes\"; /* end")
                                  << "yes";
        QTest::newRow("escapes") << QByteArray(R"("A" = "q\"t\\n\n\U901f";)") << "q\"t\\n\n速";
        QTest::newRow("utf-16 with byte-order mark")
            << QByteArray(utf16(QStringLiteral("\"A\" = \"速点\";"))) << "速点";
        QTest::newRow("missing semicolon drops pair") << QByteArray("A = \"1\"") << "";
    }
    void stringsFile() {
        QFETCH(QByteArray, data);
        QTEST(parseStringsFile(data).value("A"), "value");
    }
};

QTEST_GUILESS_MAIN(TestInstall)
#include "tst_install.moc"
