// BKUnzipFile's rules on archives built byte by byte: the result, the end-record search, the
// walk, the skip rules, the methods, and the one-piece/streamed split.
#include <QtTest>

#include "scratch.h"

#include <sys/stat.h>

using namespace ziptest;

namespace {

QByteArray text(int size) {
    QByteArray out;
    for (int i = 0; out.size() < size; ++i)
        out += "line " + QByteArray::number(i) + " of some text that compresses well\n";
    return out.left(size);
}

} // namespace

class TestUnzipRules : public QObject {
    Q_OBJECT

  private slots:
    void walk_data();
    void walk();
    void onePieceAndStreamed_data();
    void onePieceAndStreamed();
    void modes_data();
    void modes();
    void existingFiles();
    void missingArchiveAndDestination();
};

void TestUnzipRules::walk_data() {
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("output");
    const std::vector<Entry> ab = {stored("a", "a"), stored("b", "b")};
    QTest::newRow("end record alone") << build({}) << true << "";
    QTest::newRow("21 bytes") << build({}).left(21) << false << "";
    QTest::newRow("no end record") << QByteArray(4096, 'x') << false << "";
    QTest::newRow("signature too late")
        << QByteArray(30, 'x') + "PK\x05\x06" + QByteArray(10, 0) << false << "";
    // Farther than a comment can reach.
    QTest::newRow("100 KiB after the end record") << build(ab) + QByteArray(100 << 10, 'j') << true << "a b";
    Layout nested, one;
    nested.archiveComment = build({});
    QTest::newRow("the last end record wins, even in a comment") << build(ab, nested) << true << "";
    one.entryCount = 1;
    QTest::newRow("count below the records") << build(ab, one) << true << "a";
    QByteArray damaged = build(ab);
    damaged[damaged.lastIndexOf("PK\x01\x02") + 3] = 0x09;
    QTest::newRow("damaged record ends the walk") << damaged << true << "a";
    Entry tooLong = stored("long", "data"), badLocal = stored("badlocal", "x");
    tooLong.compressedSize = 100000;
    badLocal.localHeaderOffset = 1;
    QTest::newRow("data past the end, bad local header")
        << build({stored("a", "a"), tooLong, badLocal, stored("b", "b")}) << true << "a b";
    QTest::newRow("folder entries make only parents")
        << build({stored("a/", ""), stored("a/b/f", "f"), stored("empty/", ""), stored("win\\", "")}) << true
        << "a/ a/b/ a/b/f";
    Entry commented = stored("a", "a"), unsupported = stored("x/y/bzip2", "BZh91AY&SY");
    commented.comment = QByteArray(300, 'c');
    unsupported.method = 12;
    QTest::newRow("entry comments are stepped over") << build({commented, stored("b", "b")}) << true << "a b";
    QTest::newRow("unsupported method leaves its folders") << build({unsupported}) << true << "x/ x/y/";
    QTest::newRow("empty files") << build({stored("s", ""), deflated("d", "")}) << true << "d s";
}

void TestUnzipRules::walk() {
    QFETCH(QByteArray, archive);
    QFETCH(bool, result);
    QFETCH(QString, output);
    Scratch s;
    QCOMPARE(s.unzip(archive), result);
    QCOMPARE(s.output(), output.split(' ', Qt::SkipEmptyParts));
    QVERIFY(s.outsideUntouched());
}

void TestUnzipRules::onePieceAndStreamed_data() {
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("declared");
    QTest::addColumn<bool>("truncate");
    QTest::addColumn<int>("expected"); // bytes in the output file; -1: no file; -2: a prefix
    QTest::newRow("exactly 524288, one piece") << 524288 << 524288 << false << 524288;
    QTest::newRow("524289 streams") << 524289 << 524289 << false << 524289;
    QTest::newRow("3 MiB stream smaller than declared") << (3 << 20) << (20 << 20) << false << (3 << 20);
    QTest::newRow("truncated one piece: no file") << 524288 << 524288 << true << -1;
    QTest::newRow("truncated stream keeps its output") << 524289 << 524289 << true << -2;
    QTest::newRow("one piece larger than declared: no file") << 1000 << 999 << false << -1;
    QTest::newRow("one piece smaller than declared") << 1000 << 5000 << false << 1000;
    QTest::newRow("stream larger than declared: no file") << (2 << 20) << 600000 << false << -1;
}

void TestUnzipRules::onePieceAndStreamed() {
    QFETCH(int, size);
    QFETCH(int, declared);
    QFETCH(bool, truncate);
    QFETCH(int, expected);
    const QByteArray data = text(size);
    Entry e = deflated("out", data);
    e.uncompressedSize = static_cast<uint32_t>(declared);
    if (truncate) e.payload.truncate(e.payload.size() * 2 / 3);
    Scratch s;
    QVERIFY(s.unzip(build({e, stored("after", "after")})));
    QCOMPARE(readFile(s.dest("after")), QByteArray("after"));
    const QByteArray out = readFile(s.dest("out"));
    if (expected == -1)
        QCOMPARE(s.output(), QStringList({"after"}));
    else if (expected == -2)
        QVERIFY(out.size() > 0 && out.size() < size && out == data.left(out.size()));
    else
        QCOMPARE(out, data.left(expected));
}

void TestUnzipRules::modes_data() {
    QTest::addColumn<uint16_t>("madeBy");
    QTest::addColumn<uint32_t>("mode"); // the high half of the external attributes
    QTest::addColumn<uint32_t>("expected");
    constexpr uint16_t unix = 0x031E, dos = 0x0014;
    QTest::newRow("0755 kept") << unix << 0100755u << 0755u;
    QTest::newRow("0644 kept") << unix << 0100644u << 0644u;
    QTest::newRow("setuid, setgid, sticky stripped") << unix << 0107755u << 0755u;
    QTest::newRow("0777 under umask 022") << unix << 0100777u << 0755u;
    QTest::newRow("bits without a type") << unix << 0700u << 0700u;
    QTest::newRow("0000 keeps owner rw") << unix << 0100000u << 0600u;
    QTest::newRow("0111 keeps owner rw") << unix << 0100111u << 0711u;
    QTest::newRow("DOS host: default") << dos << 0100755u << 0644u;
    QTest::newRow("no mode: default") << unix << 0u << 0644u;
    QTest::newRow("a link: default") << unix << 0120777u << 0644u;
    QTest::newRow("a device: default") << unix << 0020666u << 0644u;
}

void TestUnzipRules::modes() {
    QFETCH(uint16_t, madeBy);
    QFETCH(uint32_t, mode);
    QFETCH(uint32_t, expected);
    const mode_t previousUmask = ::umask(022);
    // Stored, one piece, streamed, and over a file that was there before.
    std::vector<Entry> entries = {stored("s", "x"), deflated("d", text(1000)), deflated("big", text(600000)),
                                  stored("old", "new")};
    for (Entry& e : entries) {
        e.madeBy = madeBy;
        e.externalAttributes = mode << 16;
    }
    Scratch s;
    QVERIFY(writeFile(s.dest("old"), "old"));
    QVERIFY(s.unzip(build(entries)));
    ::umask(previousUmask);
    for (const char* name : {"s", "d", "big", "old"}) {
        struct stat st {};
        QCOMPARE(::lstat(QFile::encodeName(s.dest(name)).constData(), &st), 0);
        QVERIFY(S_ISREG(st.st_mode));
        QCOMPARE(uint32_t(st.st_mode & 07777), expected);
    }
}

void TestUnzipRules::existingFiles() {
    // Replaced by shorter and streamed output alike; kept when their entry fails.
    Scratch s;
    QVERIFY(writeFile(s.dest("a"), "old content that is longer"));
    QVERIFY(writeFile(s.dest("b"), "old"));
    QVERIFY(writeFile(s.dest("keep"), "keep me"));
    Entry broken = deflated("keep", text(2 << 20));
    broken.uncompressedSize = 600000; // the stream fails once it passes this
    QVERIFY(s.unzip(build({stored("a", "new"), deflated("b", text(700000)), broken})));
    QCOMPARE(readFile(s.dest("a")), QByteArray("new"));
    QCOMPARE(readFile(s.dest("b")), text(700000));
    QCOMPARE(readFile(s.dest("keep")), QByteArray("keep me"));
    QCOMPARE(s.output(), QStringList({"a", "b", "keep"})); // no temporary files left behind
}

void TestUnzipRules::missingArchiveAndDestination() {
    Scratch s;
    QVERIFY(!s.unzipFile(s.path("missing.zip")));
    QVERIFY(!s.unzipFile(s.path("outside")));
    QVERIFY(QDir(s.dest()).removeRecursively());
    QVERIFY(s.unzip(build({stored("a/b", "b")})));
    QCOMPARE(s.output(), QStringList({"a/", "a/b"}));
}

QTEST_GUILESS_MAIN(TestUnzipRules)
#include "tst_unzip_rules.moc"
