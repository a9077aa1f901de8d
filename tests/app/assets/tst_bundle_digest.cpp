#include "app/assets/digest.h"
#include "app/assets/natural_order.h"
#include "platform/bundle/bundle.h"
#include "tests/app/assets/tree.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QRandomGenerator>
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

QByteArray lengthPrefixed(const QByteArray& s) {
    const quint32 n = quint32(s.size());
    const char length[4] = {char(n), char(n >> 8), char(n >> 16), char(n >> 24)};
    return QByteArray(length, 4) + s;
}

// The fed strings of a tree whose files are all empty.
QStringList namesOf(const QByteArray& stream) {
    QStringList names;
    for (qsizetype i = 0; i + 4 <= stream.size();) {
        const quint32 n = quint8(stream[i]) | quint8(stream[i + 1]) << 8 | quint8(stream[i + 2]) << 16 |
                          quint32(quint8(stream[i + 3])) << 24;
        names.append(QString::fromUtf8(stream.mid(i + 4, n)));
        i += 4 + n;
    }
    return names;
}

QString digestOf(const QString& root) {
    BKMD5Context context;
    BKMD5UpdateDirectoryTree(&context, root);
    return context.finalHex();
}
} // namespace

class BundleDigestTest : public QObject {
    Q_OBJECT

private slots:
    void workedExampleFeedsExactBytes();
    void bundleDigestIsMd5OfTheStream();
    void entriesFollowNaturalOrderAtEachLevel_data();
    void entriesFollowNaturalOrderAtEachLevel();
    void orderDoesNotDependOnListingOrder();
    void digestReactsToNamesAndContentButNotHiddenEntries_data();
    void digestReactsToNamesAndContentButNotHiddenEntries();
    void linksAreFollowedButLoopsEnd();
    void unreadableEntriesFeedTheirNameOnly_data();
    void unreadableEntriesFeedTheirNameOnly();
    void namesThatAreNotUtf8AreFedAsTheirBytes();
    void stringsFeedLittleEndianLengthThenUtf8();
};

void BundleDigestTest::workedExampleFeedsExactBytes() {
    QTemporaryDir root;
    put(root.path(), "a.txt", "\x68\x69");
    put(root.path(), "d/e", "\x78");
    const QByteArray expected = QByteArray::fromHex("05000000") + "a.txt" + QByteArray::fromHex("6869") +
                                QByteArray::fromHex("01000000") + "d" + QByteArray::fromHex("01000000") +
                                QByteArray::fromHex("2F") + QByteArray::fromHex("03000000") + "d/e" +
                                QByteArray::fromHex("78");
    QCOMPARE(streamOf(root.path()), expected);
}

void BundleDigestTest::bundleDigestIsMd5OfTheStream() {
    QTemporaryDir root;
    put(root.path(), "Info.plist", "<plist/>");
    put(root.path(), "assets/big.bin", QByteArray(200000, 'q')); // several read chunks
    bundle::setBundlePathForTesting(root.path());
    const QString digest = BKAppBundleMD5();
    bundle::setBundlePathForTesting({});
    const QByteArray md5 = QCryptographicHash::hash(streamOf(root.path()), QCryptographicHash::Md5);
    QCOMPARE(digest, QString::fromLatin1(md5.toHex()));
    QCOMPARE(digest.size(), 32);
}

void BundleDigestTest::entriesFollowNaturalOrderAtEachLevel_data() {
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("fed");
    QTest::newRow("numbers by value") << QStringList{"a10", "a9", "a1"} << QStringList{"a1", "a9", "a10"};
    QTest::newRow("case ignored") << QStringList{"b", "C", "A"} << QStringList{"A", "b", "C"};
    QTest::newRow("case-only twins") << QStringList{"a", "A"} << QStringList{"A", "a"};
    QTest::newRow("leading zeros") << QStringList{"x1", "x01", "x001"} << QStringList{"x001", "x01", "x1"};
    QTest::newRow("digits between punctuation and letters")
        << QStringList{"aa", "a1", "a-"} << QStringList{"a-", "a1", "aa"};
    QTest::newRow("numbers wider than 64 bits")
        << QStringList{"f18446744073709551616", "f9"} << QStringList{"f9", "f18446744073709551616"};
    QTest::newRow("other scripts' digits") << QStringList{"v10", "v\u0663"} << QStringList{"v\u0663", "v10"};
    QTest::newRow("folder d before file d2")
        << QStringList{"d2", "d/e"} << QStringList{"d", "/", "d/e", "d2"};
    QTest::newRow("per level, not by full path")
        << QStringList{"d-", "d/z"} << QStringList{"d", "/", "d/z", "d-"};
    QTest::newRow("hidden skipped at every depth")
        << QStringList{".git/x", "sub/.cache/y", "sub/f", ".profile"} << QStringList{"sub", "/", "sub/f"};
}

void BundleDigestTest::entriesFollowNaturalOrderAtEachLevel() {
    QFETCH(QStringList, entries);
    QFETCH(QStringList, fed);
    QTemporaryDir root;
    for (const QString& entry : entries) put(root.path(), entry);
    QCOMPARE(namesOf(streamOf(root.path())), fed);
}

// A comparison that is not a strict weak order would let the result follow the input order.
void BundleDigestTest::orderDoesNotDependOnListingOrder() {
    QList<QByteArray> names;
    const QStringList parts{"a", "A", "b", "0", "00", "7", "10", "\u0663", "\u0661\u0660", "-", " ", "_", "\u00e9", "\u00c9"};
    for (const QString& x : parts)
        for (const QString& y : parts) names.append((x + y + "z").toUtf8());
    names.append(QByteArray("\xff\xfe"));
    names.append(QByteArray("\xfe\xff"));
    QList<QByteArray> reference = names;
    assets::sortNaturally(reference);
    QRandomGenerator random(7);
    for (int round = 0; round < 20; ++round) {
        std::shuffle(names.begin(), names.end(), random);
        QList<QByteArray> sorted = names;
        assets::sortNaturally(sorted);
        QCOMPARE(sorted, reference);
    }
}

void BundleDigestTest::digestReactsToNamesAndContentButNotHiddenEntries_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<bool>("digestChanges");
    QTest::newRow("rename a file") << "rename" << true;
    QTest::newRow("edit a file") << "edit" << true;
    QTest::newRow("add an empty folder") << "folder" << true;
    QTest::newRow("edit a hidden file") << "hidden" << false;
    QTest::newRow("add a hidden folder deep down") << "hiddenDeep" << false;
}

void BundleDigestTest::digestReactsToNamesAndContentButNotHiddenEntries() {
    QFETCH(QString, change);
    QFETCH(bool, digestChanges);
    QTemporaryDir root;
    put(root.path(), "app/main.lua", "print(1)");
    put(root.path(), "app/lib/");
    put(root.path(), "assets/.hidden", "old");
    const QString before = digestOf(root.path());
    QDir dir(root.path());
    if (change == "rename") dir.rename("app/main.lua", "app/Main.lua");
    if (change == "edit") put(root.path(), "app/main.lua", "print(2)");
    if (change == "folder") put(root.path(), "assets/empty/");
    if (change == "hidden") put(root.path(), "assets/.hidden", "new");
    if (change == "hiddenDeep") put(root.path(), "app/lib/.cache/x", "data");
    QCOMPARE(digestOf(root.path()) != before, digestChanges);
}

void BundleDigestTest::linksAreFollowedButLoopsEnd() {
    QTemporaryDir root;
    put(root.path(), "real/f", "F");
    put(root.path(), "loop/");
    QVERIFY(link(root.path(), "alias", "real"));
    QVERIFY(link(root.path(), "loop/back", ".."));
    QVERIFY(link(root.path(), "self", "."));
    QVERIFY(link(root.path(), "dangling", "nowhere"));
    const QByteArray expected = lengthPrefixed("alias") + lengthPrefixed("/") + lengthPrefixed("alias/f") + "F" +
                                lengthPrefixed("loop") + lengthPrefixed("/") + lengthPrefixed("loop/back") +
                                lengthPrefixed("/") + lengthPrefixed("real") + lengthPrefixed("/") +
                                lengthPrefixed("real/f") + "F" + lengthPrefixed("self") + lengthPrefixed("/");
    QCOMPARE(streamOf(root.path()), expected);
}

void BundleDigestTest::unreadableEntriesFeedTheirNameOnly_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("named pipe") << "fifo";
    QTest::newRow("read fails after open") << "ioerror";
    QTest::newRow("no read permission") << "mode000";
    QTest::newRow("folder without permission") << "dir000";
}

void BundleDigestTest::unreadableEntriesFeedTheirNameOnly() {
    QFETCH(QString, kind);
    QTemporaryDir root;
    bool made = false;
    if (kind == "fifo") made = fifo(root.path(), "x");
    if (kind == "ioerror") made = unreadableByAnyone(root.path(), "x");
    if (kind.endsWith("000") && geteuid() != 0) {
        put(root.path(), kind == "dir000" ? "x/inner" : "x", "secret");
        made = chmod(QFile::encodeName(root.filePath("x")).constData(), 0) == 0;
    }
    if (!made) QSKIP("cannot make such an entry here (root reads anything)");
    const QByteArray tail = kind == "dir000" ? lengthPrefixed("/") : QByteArray();
    QCOMPARE(streamOf(root.path()), lengthPrefixed("x") + tail);
    chmod(QFile::encodeName(root.filePath("x")).constData(), 0700);
}

void BundleDigestTest::namesThatAreNotUtf8AreFedAsTheirBytes() {
    QTemporaryDir root;
    const QByteArray odd("caf\xe9\xff");
    const QByteArray path = QFile::encodeName(root.path()) + '/' + odd;
    FILE* raw = fopen(path.constData(), "wb");
    QVERIFY(raw);
    fputs("z", raw);
    fclose(raw);
    const QByteArray stream = streamOf(root.path());
    removeTree(path);
    QCOMPARE(stream, lengthPrefixed(odd) + "z");
}

void BundleDigestTest::stringsFeedLittleEndianLengthThenUtf8() {
    RecordingSink sink;
    BKMD5UpdateString(&sink, QString());
    BKMD5UpdateString(&sink, QString(300, u'\u00e9')); // 600 UTF-8 bytes: length 58 02 00 00
    BKMD5UpdateString(nullptr, QStringLiteral("ignored"));
    QCOMPARE(sink.bytes.left(4), QByteArray::fromHex("58020000"));
    QCOMPARE(sink.bytes.mid(4), QString(300, u'\u00e9').toUtf8());
}

QTEST_GUILESS_MAIN(BundleDigestTest)
#include "tst_bundle_digest.moc"
