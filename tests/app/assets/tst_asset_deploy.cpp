#include "app/assets/deploy.h"
#include "app/assets/digest.h"
#include "platform/bundle/bundle.h"
#include "tests/app/assets/tree.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace brisko;
using namespace brisko::testing;

class AssetDeployTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir* bundle_ = nullptr;
    QString b() const { return bundle_->path(); }
    static QString docs(const QString& rel = {}) { return QDir(bundle::documentsDirectory()).filePath(rel); }
    static bool exists(const QString& rel) { return QFileInfo::exists(docs(rel)); }
    static QStringList stamps() { return QDir(BKIPAStampDirectory()).entryList(QDir::Files); }

private slots:
    void initTestCase() { bundle::enableTestMode(); }
    void init();
    void cleanup();
    void firstLaunchDeploysEverythingAndStamps();
    void unchangedBundleDeploysNothing();
    void changedBundleMergesAssetsAndReplacesApp();
    void hiddenAssetsAreNotCopiedAtAnyDepth();
    void emptyAssetsCreatesNothing();
    void librariesAreChosenByCaseSensitiveSuffix_data();
    void librariesAreChosenByCaseSensitiveSuffix();
    void stampIsWrittenEvenWhenCopiesFail();
    void failedAppCopyKeepsThePreviousApp();
    void linkLoopsInAssetsEnd();
    void assetNamesKeepTheirBytes();
};

void AssetDeployTest::init() {
    removeTree(QFile::encodeName(bundle::applicationSupportDirectory()));
    bundle_ = new QTemporaryDir;
    bundle::setBundlePathForTesting(b());
    put(b(), "brisko", "executable");
    put(b(), "assets/readme.txt", "bundled readme");
    put(b(), "assets/sub/a.txt", "A");
    put(b(), "app/main.lua", "print(1)");
    put(b(), "app/.config", "cfg");
}

void AssetDeployTest::cleanup() {
    bundle::setBundlePathForTesting({});
    removeTree(QFile::encodeName(b()));
    delete bundle_;
    removeTree(QFile::encodeName(bundle::applicationSupportDirectory()));
}

void AssetDeployTest::firstLaunchDeploysEverythingAndStamps() {
    BKPrepareBundledAssetsIfNeeded();
    QCOMPARE(contentOf(docs("assets/readme.txt")), "bundled readme");
    QCOMPARE(contentOf(docs("assets/sub/a.txt")), "A");
    QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
    QCOMPARE(contentOf(docs("app/.config")), "cfg"); // app is copied exactly
    QCOMPARE(stamps(), QStringList{BKAppBundleMD5()});
    QCOMPARE(QFileInfo(QDir(BKIPAStampDirectory()).filePath(BKAppBundleMD5())).size(), 0);
}

void AssetDeployTest::unchangedBundleDeploysNothing() {
    BKPrepareBundledAssetsIfNeeded();
    put(docs(), "assets/readme.txt", "user edit");
    put(docs(), "app/user.lua", "mine");
    QFile::remove(docs("app/main.lua"));
    BKPrepareBundledAssetsIfNeeded();
    QCOMPARE(contentOf(docs("assets/readme.txt")), "user edit");
    QCOMPARE(contentOf(docs("app/user.lua")), "mine");
    QVERIFY(!exists("app/main.lua"));
    QCOMPARE(stamps().size(), 1);
}

void AssetDeployTest::changedBundleMergesAssetsAndReplacesApp() {
    BKPrepareBundledAssetsIfNeeded();
    put(docs(), "assets/readme.txt", "user edit");
    put(docs(), "assets/sub/mine.txt", "user only");
    put(docs(), "app/user.lua", "lost on update");
    put(b(), "assets/new.txt", "new");
    BKPrepareBundledAssetsIfNeeded();
    QCOMPARE(contentOf(docs("assets/readme.txt")), "bundled readme");
    QCOMPARE(contentOf(docs("assets/sub/mine.txt")), "user only");
    QCOMPARE(contentOf(docs("assets/new.txt")), "new");
    QVERIFY(!exists("app/user.lua"));
    QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
    QCOMPARE(stamps().size(), 2);
}

void AssetDeployTest::hiddenAssetsAreNotCopiedAtAnyDepth() {
    put(b(), "assets/.top", "x");
    put(b(), "assets/sub/.deep", "x");
    put(b(), "assets/.dir/inside", "x");
    BKPrepareBundledAssetsIfNeeded();
    QVERIFY(exists("assets/sub/a.txt"));
    QVERIFY(!exists("assets/.top"));
    QVERIFY(!exists("assets/sub/.deep"));
    QVERIFY(!exists("assets/.dir"));
}

void AssetDeployTest::emptyAssetsCreatesNothing() {
    QDir(b() + "/assets").removeRecursively();
    put(b(), "assets/");
    BKPrepareBundledAssetsIfNeeded();
    QVERIFY(!exists("assets"));
    QVERIFY(exists("app/main.lua"));
}

void AssetDeployTest::librariesAreChosenByCaseSensitiveSuffix_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("copied");
    QTest::newRow("dylib") << "libfb.dylib" << true;
    QTest::newRow("native shared object") << "libfb.so" << true;
    QTest::newRow("hidden dylib") << ".hidden.dylib" << true;
    QTest::newRow("upper-case suffix") << "x.DYLIB" << false;
    QTest::newRow("versioned shared object") << "libfb.so.1" << false;
    QTest::newRow("other file") << "readme.txt" << false;
}

void AssetDeployTest::librariesAreChosenByCaseSensitiveSuffix() {
    QFETCH(QString, name);
    QFETCH(bool, copied);
    put(b(), "Frameworks/" + name, "new library");
    put(docs(), name, "old");
    BKPrepareBundledAssetsIfNeeded();
    QCOMPARE(contentOf(docs(name)), copied ? "new library" : "old");
    QVERIFY(!exists("Frameworks"));
}

void AssetDeployTest::stampIsWrittenEvenWhenCopiesFail() {
    put(docs(), "assets", "a user file where the folder would go");
    put(b(), "Frameworks/");
    QVERIFY(fifo(b(), "Frameworks/libpipe.dylib"));
    BKPrepareBundledAssetsIfNeeded();
    QCOMPARE(contentOf(docs("assets")), "a user file where the folder would go");
    QVERIFY(!exists("libpipe.dylib"));
    QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
    QCOMPARE(stamps(), QStringList{BKAppBundleMD5()});
}

void AssetDeployTest::failedAppCopyKeepsThePreviousApp() {
    BKPrepareBundledAssetsIfNeeded();
    put(b(), "app/main.lua", "print(2)");
    if (!unreadableByAnyone(b(), "app/broken")) QSKIP("no file here fails to read");
    BKPrepareBundledAssetsIfNeeded();
    QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
    QCOMPARE(QDir(docs()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({"app", "assets"})); // and no half-copied leftovers
    QCOMPARE(stamps().size(), 2);
}

void AssetDeployTest::linkLoopsInAssetsEnd() {
    QVERIFY(link(b(), "assets/sub/back", ".."));
    QVERIFY(link(b(), "app/self", "."));
    BKPrepareBundledAssetsIfNeeded();
    QVERIFY(exists("assets/sub/a.txt"));
    QVERIFY(!exists("assets/sub/back"));
    QVERIFY(exists("app/main.lua"));
    QVERIFY(!exists("app/self"));
}

void AssetDeployTest::assetNamesKeepTheirBytes() {
    const QByteArray odd("caf\xe9\xff.txt");
    const QByteArray source = QFile::encodeName(b()) + "/assets/" + odd;
    FILE* raw = fopen(source.constData(), "wb");
    QVERIFY(raw);
    fputs("odd", raw);
    fclose(raw);
    BKPrepareBundledAssetsIfNeeded();
    const QByteArray target = QFile::encodeName(docs("assets")) + '/' + odd;
    FILE* copy = fopen(target.constData(), "rb");
    QVERIFY(copy);
    char text[4] = {};
    QCOMPARE(fread(text, 1, 3, copy), size_t(3));
    fclose(copy);
    QCOMPARE(QByteArray(text), QByteArray("odd"));
}

QTEST_GUILESS_MAIN(AssetDeployTest)
#include "tst_asset_deploy.moc"
