#include "app/install/install_location.h"
#include "platform/bundle/bundle.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko;

class TestInstallLocation : public QObject {
    Q_OBJECT
    QTemporaryDir opt_{QStringLiteral("/opt/brisko-install-test-XXXXXX")}, tmp_;

  private slots:
    // Real links both ways across /opt; rows name the two folders as <opt> and <tmp>.
    void initTestCase() {
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
};

QTEST_GUILESS_MAIN(TestInstallLocation)
#include "tst_install_location.moc"
