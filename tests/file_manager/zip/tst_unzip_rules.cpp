// BKUnzipFile's rules on archives built byte by byte: the result, the end-record search, the
// walk, the skip rules, the output paths, the methods, and the one-piece/streamed split.
#include <QtTest>

#include "scratch.h"

using namespace ziptest;

namespace {

QByteArray text(int size)
{
    QByteArray out;
    out.reserve(size);
    for (int i = 0; out.size() < size; ++i)
        out += "line " + QByteArray::number(i) + " of some text that compresses well\n";
    out.truncate(size);
    return out;
}

}  // namespace

class TestUnzipRules : public QObject {
    Q_OBJECT

private slots:
    void archiveResult_data();
    void archiveResult();
    void endRecordIsSearchedOverTheWholeFile();
    void folderEntriesCreateNothingButParents();
    void entriesWithCommentsAllExtract();
    void emptyEntries();
    void onePieceAndStreamedBoundary_data();
    void onePieceAndStreamedBoundary();
    void unsupportedMethodLeavesOnlyFolders();
    void namesDecodeAsUtf8ElseLatin1_data();
    void namesDecodeAsUtf8ElseLatin1();
    void walkStopsAndSkips();
    void existingFilesAreReplaced();
    void failedEntryKeepsTheExistingFile();
    void destinationIsCreated();
};

void TestUnzipRules::archiveResult_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("result");
    const QByteArray empty = build({});
    QTest::newRow("22-byte end record alone") << empty << true;
    QTest::newRow("21 bytes") << empty.left(21) << false;
    QTest::newRow("empty file") << QByteArray() << false;
    QTest::newRow("no end signature") << QByteArray(4096, 'x') << false;
    QTest::newRow("end signature in the last 21 bytes only") << QByteArray(30, 'x') + "PK\x05\x06" + QByteArray(10, 0) << false;
    QTest::newRow("one entry") << build({stored("a.txt", "a")}) << true;
}

void TestUnzipRules::archiveResult()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, result);
    Scratch s;
    QCOMPARE(s.unzip(bytes), result);
    QVERIFY(s.outsideUntouched());
}

void TestUnzipRules::endRecordIsSearchedOverTheWholeFile()
{
    // 100 KiB after the end record (more than a comment can hold) still finds it.
    Scratch s;
    QVERIFY(s.unzip(build({stored("a.txt", "a")}) + QByteArray(100 * 1024, 'j')));
    QCOMPARE(s.output(), QStringList({"a.txt"}));
    // The end record nearest the end wins, even inside the archive comment.
    Scratch t;
    Layout layout;
    layout.archiveComment = build({}).left(22);  // an end record of an empty archive
    QVERIFY(t.unzip(build({stored("a.txt", "a")}, layout)));
    QCOMPARE(t.output(), QStringList());
    // Missing archive and a folder in its place.
    QVERIFY(!s.unzipFile(s.path("missing.zip")));
    QVERIFY(!s.unzipFile(s.path("outside")));
}

void TestUnzipRules::folderEntriesCreateNothingButParents()
{
    Scratch s;
    QVERIFY(s.unzip(build({stored("a/", ""), stored("a/b/", ""), stored("a/b/f.txt", "f"), stored("empty/", ""),
                           stored("win\\", "")})));
    QCOMPARE(s.output(), QStringList({"a/", "a/b/", "a/b/f.txt"}));
    QCOMPARE(readFile(s.dest("a/b/f.txt")), QByteArray("f"));
}

void TestUnzipRules::entriesWithCommentsAllExtract()
{
    Entry a = stored("a.txt", "a");
    a.comment = "first comment";
    Entry b = deflated("b.txt", text(1000));
    b.comment = QByteArray(300, 'c');
    Scratch s;
    QVERIFY(s.unzip(build({a, b})));
    QCOMPARE(s.output(), QStringList({"a.txt", "b.txt"}));
    QCOMPARE(readFile(s.dest("b.txt")), text(1000));
}

void TestUnzipRules::emptyEntries()
{
    Scratch s;
    QVERIFY(s.unzip(build({stored("stored", ""), deflated("deflated", "")})));
    QCOMPARE(s.output(), QStringList({"deflated", "stored"}));
    QCOMPARE(QFileInfo(s.dest("stored")).size(), 0);
    QCOMPARE(QFileInfo(s.dest("deflated")).size(), 0);
}

void TestUnzipRules::onePieceAndStreamedBoundary_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("declared");
    QTest::addColumn<bool>("truncate");
    QTest::addColumn<int>("expected");  // bytes in the output file; -1: no file
    QTest::newRow("exactly 524288, one piece") << 524288 << 524288 << false << 524288;
    QTest::newRow("524289 streams") << 524289 << 524289 << false << 524289;
    QTest::newRow("3 MiB streams") << 3 * 1024 * 1024 << 20 * 1024 * 1024 << false << 3 * 1024 * 1024;
    QTest::newRow("truncated one piece: no file") << 524288 << 524288 << true << -1;
    QTest::newRow("truncated stream keeps its output") << 524289 << 524289 << true << -2;
    QTest::newRow("one piece larger than declared: no file") << 1000 << 999 << false << -1;
    QTest::newRow("one piece smaller than declared") << 1000 << 5000 << false << 1000;
    QTest::newRow("stream larger than declared: no file") << 2 * 1024 * 1024 << 600000 << false << -1;
    QTest::newRow("stream smaller than declared") << 600000 << 2 * 1024 * 1024 << false << 600000;
}

void TestUnzipRules::onePieceAndStreamedBoundary()
{
    QFETCH(int, size);
    QFETCH(int, declared);
    QFETCH(bool, truncate);
    QFETCH(int, expected);
    const QByteArray data = text(size);
    Entry e = deflated("out.txt", data);
    e.uncompressedSize = static_cast<uint32_t>(declared);
    if (truncate)
        e.payload.truncate(e.payload.size() * 2 / 3);
    Scratch s;
    QVERIFY(s.unzip(build({e, stored("after.txt", "after")})));
    QCOMPARE(readFile(s.dest("after.txt")), QByteArray("after"));
    if (expected == -1) {
        QCOMPARE(s.output(), QStringList({"after.txt"}));
    } else if (expected == -2) {
        const QByteArray out = readFile(s.dest("out.txt"));
        QVERIFY(out.size() > 0 && out.size() < size);
        QCOMPARE(out, data.left(out.size()));
    } else {
        QCOMPARE(readFile(s.dest("out.txt")), data.left(expected));
    }
}

void TestUnzipRules::unsupportedMethodLeavesOnlyFolders()
{
    Entry e = stored("x/y/bzip2.bin", "BZh91AY&SY");
    e.method = 12;
    Scratch s;
    QVERIFY(s.unzip(build({e})));
    QCOMPARE(s.output(), QStringList({"x/", "x/y/"}));
}

void TestUnzipRules::namesDecodeAsUtf8ElseLatin1_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("file");
    QTest::newRow("UTF-8") << QByteArray("caf\xc3\xa9.txt") << QString::fromUtf8("café.txt");
    QTest::newRow("Chinese UTF-8") << QByteArray("\xe8\xa7\xa3\xe5\x8e\x8b.txt") << QString::fromUtf8("解压.txt");
    QTest::newRow("Latin-1") << QByteArray("caf\xe9.txt") << QString::fromUtf8("café.txt");
    QTest::newRow("CP437 box drawing read as Latin-1") << QByteArray("\xc9\xcd\xbb") << QString::fromUtf8("ÉÍ»");
    QTest::newRow("overlong slash is no separator") << QByteArray("a\xc0\xaf" "b") << QString::fromUtf8("aÀ¯b");
    QTest::newRow("UTF-16 surrogate bytes") << QByteArray("\xed\xa0\x80") << QString::fromUtf8("í\u00a0\u0080");
    QTest::newRow("backslash is ordinary") << QByteArray("dir\\file.txt") << QString::fromUtf8("dir\\file.txt");
}

void TestUnzipRules::namesDecodeAsUtf8ElseLatin1()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, file);
    Scratch s;
    QVERIFY(s.unzip(build({stored(name, "x")})));
    QCOMPARE(s.output(), QStringList({file}));
}

void TestUnzipRules::walkStopsAndSkips()
{
    // Count lower than the records: only the first ones.
    {
        Layout layout;
        layout.entryCount = 1;
        Scratch s;
        QVERIFY(s.unzip(build({stored("a", "a"), stored("b", "b")}, layout)));
        QCOMPARE(s.output(), QStringList({"a"}));
    }
    // Data past the end, a bad local header: those entries only.
    {
        Entry tooLong = stored("long", "data");
        tooLong.compressedSize = 100000;
        Entry badLocal = stored("badlocal", "x");
        badLocal.localHeaderOffset = 1;
        Scratch s;
        QVERIFY(s.unzip(build({stored("a", "a"), tooLong, badLocal, stored("b", "b")})));
        QCOMPARE(s.output(), QStringList({"a", "b"}));
    }
    // A damaged record signature ends the walk; what came before stays.
    {
        QByteArray zip = build({stored("a", "a"), stored("b", "b")});
        const int second = zip.lastIndexOf("PK\x01\x02");
        zip[second + 3] = 0x09;
        Scratch s;
        QVERIFY(s.unzip(zip));
        QCOMPARE(s.output(), QStringList({"a"}));
    }
}

void TestUnzipRules::existingFilesAreReplaced()
{
    Scratch s;
    QVERIFY(writeFile(s.dest("a.txt"), "old content that is longer"));
    QVERIFY(s.unzip(build({stored("a.txt", "new"), deflated("b.txt", text(700000))})));
    QCOMPARE(readFile(s.dest("a.txt")), QByteArray("new"));
    QCOMPARE(readFile(s.dest("b.txt")), text(700000));
    QVERIFY(s.unzip(build({deflated("b.txt", text(800000))})));
    QCOMPARE(readFile(s.dest("b.txt")), text(800000));
    QCOMPARE(s.output(), QStringList({"a.txt", "b.txt"}));  // no temporary files left behind
}

void TestUnzipRules::failedEntryKeepsTheExistingFile()
{
    Scratch s;
    QVERIFY(writeFile(s.dest("big.txt"), "keep me"));
    Entry broken = deflated("big.txt", text(2 * 1024 * 1024));
    broken.payload[broken.payload.size() / 2] = char(0xFF);  // damage the stream mid-way
    broken.payload[broken.payload.size() / 2 + 1] = char(0xFF);
    broken.payload[broken.payload.size() / 2 + 2] = char(0xFF);
    QVERIFY(s.unzip(build({broken})));
    QCOMPARE(readFile(s.dest("big.txt")), QByteArray("keep me"));
    QCOMPARE(s.output(), QStringList({"big.txt"}));
}

void TestUnzipRules::destinationIsCreated()
{
    Scratch s;
    QVERIFY(QDir(s.dest()).removeRecursively());
    QVERIFY(s.unzip(build({stored("a/b.txt", "b")})));
    QCOMPARE(s.output(), QStringList({"a/", "a/b.txt"}));
}

QTEST_GUILESS_MAIN(TestUnzipRules)
#include "tst_unzip_rules.moc"
