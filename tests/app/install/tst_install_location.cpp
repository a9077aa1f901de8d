#include "app/install/install_location.h"
#include "platform/bundle/bundle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace brisko;

class TestInstallLocation : public QObject {
    Q_OBJECT

private slots:
    void literalPaths_data();
    void literalPaths();
    void linkedPaths_data();
    void linkedPaths();
    void runningApp_data();
    void runningApp();
    void cleanup() { bundle::setBundlePathForTesting({}); }
};

void TestInstallLocation::literalPaths_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("privileged");
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("applications") << "/Applications/Example.app" << true;
    QTest::newRow("applications folder itself") << "/Applications" << false;
    QTest::newRow("similar prefix") << "/ApplicationsX/Example.app" << false;
    QTest::newRow("lower case") << "/applications/Example.app" << false;
    QTest::newRow("relocated tree") << "/var/jb/Applications/Example.app" << true;
    QTest::newRow("preboot procursus") << "/private/preboot/ABC123/procursus/Applications/Example.app" << true;
    QTest::newRow("preboot without procursus") << "/private/preboot/ABC123/Applications/Example.app" << false;
    QTest::newRow("procursus outside preboot") << "/private/var/procursus/Applications/Example.app" << false;
    QTest::newRow("container") << "/private/var/containers/Bundle/Application/0A1B/Example.app" << false;
    QTest::newRow("opt") << "/opt/brisko" << true;
    QTest::newRow("relative") << "Applications/Example.app" << false;
    QTest::newRow("dot-dot into opt") << "/tmp/../opt/brisko" << true;
    QTest::newRow("dot components in preboot") << "/private/preboot/A/procursus/./Applications/E.app" << true;
    QTest::newRow("dot-dot out of applications") << "/Applications/../home/Example.app" << true; // unchanged path wins
    QTest::newRow("dot-dot out of opt") << "/usr/../etc/Example.app" << false;
}

void TestInstallLocation::literalPaths() {
    QFETCH(QString, path);
    QFETCH(bool, privileged);
    QCOMPARE(BKPathLooksLikeJailbreakInstall(path), privileged);
}

// Real links: "inside" is a folder under /opt (privileged), "outside" one under a temporary folder.
void TestInstallLocation::linkedPaths_data() {
    QTest::addColumn<QString>("linkTarget"); // "inside" or "outside"
    QTest::addColumn<bool>("linkInOpt");
    QTest::addColumn<bool>("privileged");
    QTest::newRow("ordinary link to ordinary folder") << "outside" << false << false;
    QTest::newRow("ordinary link into opt") << "inside" << false << true;
    QTest::newRow("link in opt pointing elsewhere") << "outside" << true << true;
}

void TestInstallLocation::linkedPaths() {
    QFETCH(QString, linkTarget);
    QFETCH(bool, linkInOpt);
    QFETCH(bool, privileged);
    QTemporaryDir opt(QStringLiteral("/opt/brisko-install-test-XXXXXX"));
    if (!opt.isValid()) QSKIP("/opt is not writable here");
    QTemporaryDir outside;
    QVERIFY(QDir().mkpath(opt.filePath("Example.app/Contents")));
    QVERIFY(QDir().mkpath(outside.filePath("Elsewhere.app/Contents")));

    const QString target = linkTarget == "inside" ? opt.filePath("Example.app") : outside.filePath("Elsewhere.app");
    const QString link = (linkInOpt ? opt : outside).filePath("link");
    QVERIFY(QFile::link(target, link));
    QCOMPARE(BKPathLooksLikeJailbreakInstall(link), privileged);
    QCOMPARE(BKPathLooksLikeJailbreakInstall(link + "/Contents"), privileged);
}

void TestInstallLocation::runningApp_data() {
    QTest::addColumn<QString>("bundlePath");
    QTest::addColumn<bool>("privileged");
    QTest::newRow("container bundle, build-tree executable") << "/private/var/containers/Bundle/Application/0A1B/Example.app" << false;
    QTest::newRow("opt bundle") << "/opt/brisko" << true;
    QTest::newRow("applications bundle") << "/Applications/Brisko.app" << true;
}

// The test executable itself runs from the build tree, which is never privileged.
void TestInstallLocation::runningApp() {
    QFETCH(QString, bundlePath);
    QFETCH(bool, privileged);
    bundle::setBundlePathForTesting(bundlePath);
    QCOMPARE(BKIsJailbreakInstalledApp(), privileged);
}

QTEST_GUILESS_MAIN(TestInstallLocation)
#include "tst_install_location.moc"
