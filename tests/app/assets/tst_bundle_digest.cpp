#include "app/assets/digest.h"
#include "app/assets/natural_order.h"
#include "platform/bundle/bundle.h"
#include "tests/app/assets/tree.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <unistd.h>

using namespace brisko;
using namespace brisko::testing;

namespace {
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

class BundleDigestTest : public QObject {
    Q_OBJECT

  private slots:
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

QTEST_GUILESS_MAIN(BundleDigestTest)
#include "tst_bundle_digest.moc"
