// Deploying the bundled assets, and the bundle digest that decides when to.

#include "app/assets/deploy.h"
#include "app/assets/digest.h"
#include "app/assets/natural_order.h"
#include "platform/bundle/bundle.h"
#include "tests/support/test_files.h"

#include <QtTest>

#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

using namespace brisko;
using namespace brisko::testing;

namespace {

// "dir/" makes a folder; anything else a file holding content.
void put(const QString& root, const QString& rel, const QByteArray& content = {}) {
    rel.endsWith('/') ? (void)QDir(root).mkpath(rel) : (void)writeFile(QDir(root).filePath(rel), content);
}

// For names that are not valid UTF-8, which QString cannot carry.
bool putRaw(const QByteArray& path, const char* content) {
    std::ofstream out(path.constData(), std::ios::binary);
    return bool(out << content);
}

bool link(const QString& root, const QString& rel, const QByteArray& target) {
    const QByteArray path = QFile::encodeName(QDir(root).filePath(rel));
    return symlink(target.constData(), path.constData()) == 0;
}

bool fifo(const QString& root, const QString& rel) {
    return mkfifo(QFile::encodeName(QDir(root).filePath(rel)).constData(), 0600) == 0;
}

// A file the kernel lets anyone open, even root, but not read.
bool unreadableByAnyone(const QString& root, const QString& rel) {
    QFile mem(QStringLiteral("/proc/self/mem"));
    if (!mem.open(QIODevice::ReadOnly) || mem.read(1).size() == 1) return false;
    return link(root, rel, "/proc/self/mem");
}

// Unlike QDir::removeRecursively, also removes names that are not valid UTF-8.
void removeTree(const QByteArray& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path.toStdString(), ignored);
}

class RecordingSink final : public BKMD5Sink {
  public:
    QByteArray bytes;
    void update(const char* data, std::size_t size) override { bytes.append(data, qsizetype(size)); }
};

QByteArray streamOf(const QString& root) {
    RecordingSink sink;
    BKMD5UpdateDirectoryTree(&sink, root);
    return sink.bytes;
}

// One fed string: its length, 4 bytes little-endian, then its bytes.
QByteArray lp(const QByteArray& s) {
    const quint32 n = qToLittleEndian(quint32(s.size()));
    return QByteArray(reinterpret_cast<const char*>(&n), 4) + s;
}

} // namespace

class AssetsTest : public QObject {
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
        QCOMPARE(readFile(docs("assets/readme.txt")), "bundled readme");
        QCOMPARE(readFile(docs("assets/sub/a.txt")), "A");
        QCOMPARE(readFile(docs("app/.config")), "cfg"); // app is copied whole, hidden entries too
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
        QCOMPARE(readFile(docs("assets/readme.txt")), "user edit");
        QVERIFY(exists("app/user.lua"));

        put(b(), "assets/new.txt", "new");
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(readFile(docs("assets/readme.txt")), "bundled readme");
        QCOMPARE(readFile(docs("assets/sub/mine.txt")), "user only");
        QCOMPARE(readFile(docs("assets/new.txt")), "new");
        QVERIFY(!exists("app/user.lua")); // app is replaced whole
        QCOMPARE(readFile(docs("app/main.lua")), "print(1)");
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
        QCOMPARE(readFile(docs("libfb.so")), "new");
        QVERIFY(!exists("Frameworks"));
    }

    void stampIsWrittenEvenWhenCopiesFail() {
        put(docs(), "assets", "a user file where the folder would go");
        put(b(), "Frameworks/");
        QVERIFY(fifo(b(), "Frameworks/libpipe.dylib"));
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(readFile(docs("assets")), "a user file where the folder would go");
        QVERIFY(!exists("libpipe.dylib"));
        QCOMPARE(readFile(docs("app/main.lua")), "print(1)");
        QCOMPARE(stamps(), QStringList{BKAppBundleMD5()});
    }

    void failedAppCopyKeepsThePreviousApp() {
        BKPrepareBundledAssetsIfNeeded();
        put(b(), "app/main.lua", "print(2)");
        if (!unreadableByAnyone(b(), "app/broken")) QSKIP("no file here fails to read");
        BKPrepareBundledAssetsIfNeeded();
        QCOMPARE(readFile(docs("app/main.lua")), "print(1)");
        QCOMPARE(QDir(docs()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList({"app", "assets"})); // and no half-copied leftovers
    }

    // Spelled out byte by byte so the expectation does not share code with the walker.
    void workedExampleFeedsExactBytes() {
        QTemporaryDir root;
        put(root.path(), "a.txt", "\x68\x69");
        put(root.path(), "d/e", "\x78");
        QCOMPARE(streamOf(root.path()), QByteArray::fromHex("05000000") + "a.txt" +
                                            QByteArray::fromHex("6869") + QByteArray::fromHex("01000000") +
                                            "d" + QByteArray::fromHex("01000000") + "/" +
                                            QByteArray::fromHex("03000000") + "d/e" + "x");
    }

    void bundleDigestIsMd5OfTheStreamAndSeesRenames() {
        QTemporaryDir root;
        put(root.path(), "app/main.lua", "print(1)");
        put(root.path(), "assets/big.bin", QByteArray(200000, 'q')); // several read chunks
        bundle::setBundlePathForTesting(root.path());
        const QString digest = BKAppBundleMD5();
        QCOMPARE(digest, QCryptographicHash::hash(streamOf(root.path()), QCryptographicHash::Md5).toHex());
        QVERIFY(QDir(root.path()).rename("app/main.lua", "app/Main.lua"));
        QVERIFY(BKAppBundleMD5() != digest);
        bundle::setBundlePathForTesting({});
    }

    void entriesFollowNaturalOrderAtEachLevel_data() {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("fed");
        QTest::newRow("numbers by value") << QStringList{"a10", "a9", "a1"} << QStringList{"a1", "a9", "a10"};
        QTest::newRow("case ignored") << QStringList{"b", "C", "A"} << QStringList{"A", "b", "C"};
        QTest::newRow("digits between punctuation and letters")
            << QStringList{"aa", "a1", "a-"} << QStringList{"a-", "a1", "aa"};
        QTest::newRow("numbers wider than 64 bits")
            << QStringList{"f18446744073709551616", "f9"} << QStringList{"f9", "f18446744073709551616"};
        QTest::newRow("folder d before file d2")
            << QStringList{"d2", "d/e"} << QStringList{"d", "/", "d/e", "d2"};
        QTest::newRow("per level, not by full path")
            << QStringList{"d-", "d/z"} << QStringList{"d", "/", "d/z", "d-"};
        QTest::newRow("hidden skipped at every depth")
            << QStringList{".git/x", "sub/.cache/y", "sub/f", ".profile"} << QStringList{"sub", "/", "sub/f"};
    }
    void entriesFollowNaturalOrderAtEachLevel() {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, fed);
        QTemporaryDir root;
        for (const QString& entry : entries)
            put(root.path(), entry);
        QByteArray expected; // every file is empty: the stream is names only
        for (const QString& name : fed)
            expected += lp(name.toUtf8());
        QCOMPARE(streamOf(root.path()), expected);
    }

    // A comparison that is not a strict weak order lets the result follow the listing order.
    void orderDoesNotDependOnListingOrder() {
        QList<QByteArray> names{"\xff\xfe", "\xfe\xff"};
        const QStringList parts{"a", "A", "0", "00", "7", "10", "\u0663", "-", " ", "\u00e9", "\u00c9"};
        for (const QString& x : parts)
            for (const QString& y : parts)
                names.append((x + y + "z").toUtf8());
        QList<QByteArray> reference = names;
        assets::sortNaturally(reference);
        QRandomGenerator random(7);
        for (int round = 0; round < 20; ++round) {
            std::shuffle(names.begin(), names.end(), random);
            assets::sortNaturally(names);
            QCOMPARE(names, reference);
        }
    }

    // A link to a folder already on the path is fed as an empty folder; others are followed.
    void linksAreFollowedButLoopsEnd() {
        QTemporaryDir root;
        put(root.path(), "real/f", "F");
        put(root.path(), "loop/");
        QVERIFY(link(root.path(), "alias", "real") && link(root.path(), "loop/back", "..") &&
                link(root.path(), "self", ".") && link(root.path(), "dangling", "nowhere"));
        QCOMPARE(streamOf(root.path()), lp("alias") + lp("/") + lp("alias/f") + "F" + lp("loop") + lp("/") +
                                            lp("loop/back") + lp("/") + lp("real") + lp("/") + lp("real/f") +
                                            "F" + lp("self") + lp("/"));
    }

    // A pipe would block the read, /proc/self/mem fails it, and mode 000 fails the open.
    void unreadableEntriesFeedTheirNameOnly() {
        QTemporaryDir root;
        QVERIFY(fifo(root.path(), "a"));
        QByteArray expected = lp("a");
        if (unreadableByAnyone(root.path(), "b")) expected += lp("b");
        put(root.path(), "c", "secret");
        QVERIFY(chmod(QFile::encodeName(root.filePath("c")).constData(), 0) == 0);
        expected += lp("c") + (geteuid() == 0 ? "secret" : ""); // root reads it anyway
        QCOMPARE(streamOf(root.path()), expected);
    }

    // The long folder name also takes the path's length past its low byte.
    void namesThatAreNotUtf8AreFedAsTheirBytes() {
        QTemporaryDir root;
        const QByteArray folder(250, 'n'), odd = folder + "/caf\xe9\xff";
        put(root.path(), folder + "/");
        QVERIFY(putRaw(QFile::encodeName(root.path()) + '/' + odd, "z"));
        const QByteArray stream = streamOf(root.path());
        removeTree(QFile::encodeName(root.filePath(folder)));
        QCOMPARE(stream, lp(folder) + lp("/") + lp(odd) + "z");
    }
};

QTEST_GUILESS_MAIN(AssetsTest)
#include "tst_assets.moc"
