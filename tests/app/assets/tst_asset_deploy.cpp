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

    QTemporaryDir* bundle_ = nullptr;
    QString b() const { return bundle_->path(); }
    static QString docs(const QString& rel = {}) { return QDir(bundle::documentsDirectory()).filePath(rel); }
    static bool exists(const QString& rel) { return QFileInfo::exists(docs(rel)); }
    static QStringList stamps() { return QDir(BKIPAStampDirectory()).entryList(QDir::Files); }

  private slots:
    void initTestCase() { bundle::enableTestMode(); }

    void init() {
        removeTree(QFile::encodeName(bundle::applicationSupportDirectory()));
        bundle_ = new QTemporaryDir;
        bundle::setBundlePathForTesting(b());
        put(b(), "assets/readme.txt", "bundled readme");
        put(b(), "assets/sub/a.txt", "A");
        put(b(), "app/main.lua", "print(1)");
        put(b(), "app/.config", "cfg");
    }

    void cleanup() {
        bundle::setBundlePathForTesting({});
        removeTree(QFile::encodeName(b())); // also names QDir cannot remove
        delete bundle_;
        removeTree(QFile::encodeName(bundle::applicationSupportDirectory()));
    }

    void firstLaunchCopiesVisibleEntriesAndStamps() {
        put(b(), "assets/.top", "x");
        put(b(), "assets/sub/.deep", "x");
        put(b(), "assets/.dir/inside", "x");
        QVERIFY(link(b(), "assets/sub/back", "..") && link(b(), "app/self", "."));
        const QByteArray odd("caf\xe9\xff.txt");
        QVERIFY(putRaw(QFile::encodeName(b()) + "/assets/" + odd, "odd"));
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(contentOf(docs("assets/readme.txt")), "bundled readme");
        QCOMPARE(contentOf(docs("assets/sub/a.txt")), "A");
        QCOMPARE(contentOf(docs("app/.config")), "cfg"); // app is copied whole, hidden entries too
        QVERIFY(access((QFile::encodeName(docs("assets")) + '/' + odd).constData(), F_OK) == 0);
        for (const char* skipped :
             {"assets/.top", "assets/sub/.deep", "assets/.dir", "assets/sub/back", "app/self"})
            QVERIFY2(!exists(skipped), skipped);
        QCOMPARE(stamps(), QStringList{BKAppBundleMD5()});
    }

    void redeploysOnlyWhenTheBundleChanges() {
        BKPrepareBundledAssetsIfNeeded();
        put(docs(), "assets/readme.txt", "user edit");
        put(docs(), "assets/sub/mine.txt", "user only");
        put(docs(), "app/user.lua", "mine");
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(contentOf(docs("assets/readme.txt")), "user edit");
        QVERIFY(exists("app/user.lua"));

        put(b(), "assets/new.txt", "new");
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(contentOf(docs("assets/readme.txt")), "bundled readme");
        QCOMPARE(contentOf(docs("assets/sub/mine.txt")), "user only");
        QCOMPARE(contentOf(docs("assets/new.txt")), "new");
        QVERIFY(!exists("app/user.lua")); // app is replaced whole
        QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
        QCOMPARE(stamps().size(), 2);
    }

    void emptyAssetsCreatesNothing() {
        QDir(b() + "/assets").removeRecursively();
        put(b(), "assets/");
        BKPrepareBundledAssetsIfNeeded();
        QVERIFY(!exists("assets"));
        QVERIFY(exists("app/main.lua"));
    }

    void librariesAreChosenByCaseSensitiveSuffix() {
        const QList<std::pair<QString, bool>> libraries{{"libfb.dylib", true},
                                                        {"libfb.so", true},
                                                        {".hidden.dylib", true},
                                                        {"x.DYLIB", false},
                                                        {"libfb.so.1", false}};
        for (const auto& [name, copied] : libraries)
            put(b(), "Frameworks/" + name, "new");
        put(docs(), "libfb.so", "old");
        BKPrepareBundledAssetsIfNeeded();
        for (const auto& [name, copied] : libraries)
            QVERIFY2(exists(name) == copied, qPrintable(name));
        QCOMPARE(contentOf(docs("libfb.so")), "new");
        QVERIFY(!exists("Frameworks"));
    }

    void stampIsWrittenEvenWhenCopiesFail() {
        put(docs(), "assets", "a user file where the folder would go");
        put(b(), "Frameworks/");
        QVERIFY(fifo(b(), "Frameworks/libpipe.dylib"));
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(contentOf(docs("assets")), "a user file where the folder would go");
        QVERIFY(!exists("libpipe.dylib"));
        QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
        QCOMPARE(stamps(), QStringList{BKAppBundleMD5()});
    }

    void failedAppCopyKeepsThePreviousApp() {
        BKPrepareBundledAssetsIfNeeded();
        put(b(), "app/main.lua", "print(2)");
        if (!unreadableByAnyone(b(), "app/broken")) QSKIP("no file here fails to read");
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(contentOf(docs("app/main.lua")), "print(1)");
        QCOMPARE(QDir(docs()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList({"app", "assets"})); // and no half-copied leftovers
    }
};

QTEST_GUILESS_MAIN(AssetDeployTest)
#include "tst_asset_deploy.moc"
