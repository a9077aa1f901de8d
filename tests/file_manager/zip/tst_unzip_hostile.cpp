// BKUnzipFile against hostile archives: names that try to leave the destination, links planted
// in it, size fields that lie, offsets that point anywhere, and zip bombs of both kinds.
#include <QElapsedTimer>
#include <QtTest>
#include <unistd.h>

#include "scratch.h"

using namespace ziptest;

class TestUnzipHostile : public QObject {
    Q_OBJECT

private slots:
    void namesStayInside_data();
    void namesStayInside();
    void plantedLinksAreNeverWrittenThrough_data();
    void plantedLinksAreNeverWrittenThrough();
    void sizesThatLie_data();
    void sizesThatLie();
    void offsetsThatPointAnywhere_data();
    void offsetsThatPointAnywhere();
    void overlappingBombExtractsOnce();
    void quotedOverlapIsSkipped();
    void honestBombStopsAtTheFreeSpaceFloor();
    void storedEntryStopsAtTheFreeSpaceFloor();
};

void TestUnzipHostile::namesStayInside_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QStringList>("output");
    const QStringList nothing;
    QTest::newRow("../x") << QByteArray("../x") << nothing;
    QTest::newRow("x/../../y") << QByteArray("x/../../y") << nothing;
    QTest::newRow("..\\x") << QByteArray("..\\x") << nothing;
    QTest::newRow("a..b.txt") << QByteArray("a..b.txt") << nothing;
    QTest::newRow("/abs/z.txt") << QByteArray("/abs/z.txt") << QStringList({"abs/", "abs/z.txt"});
    QTest::newRow("//a//b") << QByteArray("//a//b") << QStringList({"a/", "a/b"});
    QTest::newRow("./a.txt") << QByteArray("./a.txt") << QStringList({"a.txt"});
    QTest::newRow("a/./b.txt") << QByteArray("a/./b.txt") << QStringList({"a/", "a/b.txt"});
    QTest::newRow("a/. (a folder, no file)") << QByteArray("a/.") << QStringList({"a/"});
    QTest::newRow(".") << QByteArray(".") << nothing;
    QTest::newRow("empty") << QByteArray("") << nothing;
    QTest::newRow("/") << QByteArray("/") << nothing;
    QTest::newRow("NUL inside") << QByteArray("evil\0.txt", 9) << nothing;
    QTest::newRow("NUL then traversal") << QByteArray("a\0/../../x", 10) << nothing;
    QTest::newRow("trailing NUL") << QByteArray("x\0", 2) << nothing;
    QTest::newRow("component of 300 bytes") << QByteArray(300, 'n') << nothing;
    QTest::newRow("path past PATH_MAX") << QByteArray("d/").repeated(2100) + "f" << nothing;
    QTest::newRow("Latin-1 dots are no dots") << QByteArray("\xb7\xb7/x") << QStringList({"··/", "··/x"});
}

void TestUnzipHostile::namesStayInside()
{
    QFETCH(QByteArray, name);
    QFETCH(QStringList, output);
    Scratch s;
    QVERIFY(s.unzip(build({stored(name, "payload")})));
    QCOMPARE(s.output(), output);
    QVERIFY(s.outsideUntouched());
}

void TestUnzipHostile::plantedLinksAreNeverWrittenThrough_data()
{
    QTest::addColumn<QString>("link");    // planted in dest
    QTest::addColumn<QString>("target");  // what it points to
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QStringList>("output");
    QTest::newRow("folder link out, entry below it")
        << "up" << "../outside" << QByteArray("up/new.txt") << QStringList({"real/", "up@"});
    QTest::newRow("folder link out, entry deeper below it")
        << "up" << "../outside" << QByteArray("up/a/b.txt") << QStringList({"real/", "up@"});
    QTest::newRow("absolute folder link out") << "abs" << "@OUTSIDE@" << QByteArray("abs/victim.txt")
                                              << QStringList({"abs@", "real/"});
    QTest::newRow("link inside that climbs out")
        << "real/esc" << "../../outside" << QByteArray("real/esc/victim.txt") << QStringList({"real/", "real/esc@"});
    QTest::newRow("link with a detour that stays inside")
        << "in" << "../dest/real" << QByteArray("in/x.txt") << QStringList({"in@", "real/", "real/x.txt"});
    QTest::newRow("folder link inside") << "in" << "real" << QByteArray("in/x.txt")
                                        << QStringList({"in@", "real/", "real/x.txt"});
    QTest::newRow("file link out is replaced, not followed")
        << "victim.txt" << "../outside/victim.txt" << QByteArray("victim.txt") << QStringList({"real/", "victim.txt"});
    QTest::newRow("dangling link is replaced, not followed")
        << "ghost.txt" << "../outside/ghost.txt" << QByteArray("ghost.txt") << QStringList({"ghost.txt", "real/"});
    QTest::newRow("link loop") << "loop" << "loop" << QByteArray("loop/x") << QStringList({"loop@", "real/"});
}

void TestUnzipHostile::plantedLinksAreNeverWrittenThrough()
{
    QFETCH(QString, link);
    QFETCH(QString, target);
    QFETCH(QByteArray, name);
    QFETCH(QStringList, output);
    Scratch s;
    QVERIFY(QDir().mkpath(s.dest("real")));
    target.replace("@OUTSIDE@", s.path("outside"));
    QVERIFY(QFile::link(target, s.dest(link)));
    QVERIFY(s.unzip(build({stored(name, "payload")})));
    QCOMPARE(s.output(), output);
    QVERIFY(s.outsideUntouched());
    for (const QString& entry : output)
        if (!entry.endsWith('/') && !entry.endsWith('@'))
            QCOMPARE(readFile(s.dest(entry)), QByteArray("payload"));
}

void TestUnzipHostile::sizesThatLie_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<quint32>("compressed");    // 0: the real size
    QTest::addColumn<quint32>("uncompressed");  // 0: the real size
    QTest::addColumn<bool>("extracted");
    QTest::newRow("stored, compressed 0xFFFFFFFF") << 0 << 0xFFFFFFFFu << 0u << false;
    QTest::newRow("stored, uncompressed 0xFFFFFFFF") << 0 << 0u << 0xFFFFFFFFu << true;
    QTest::newRow("deflate, compressed 0xFFFFFFFF") << 8 << 0xFFFFFFFFu << 0u << false;
    QTest::newRow("deflate, uncompressed 0xFFFFFFFF") << 8 << 0u << 0xFFFFFFFFu << true;
    QTest::newRow("deflate, both 0xFFFFFFFF") << 8 << 0xFFFFFFFFu << 0xFFFFFFFFu << false;
    QTest::newRow("deflate, uncompressed 0x80000000") << 8 << 0u << 0x80000000u << true;
}

void TestUnzipHostile::sizesThatLie()
{
    QFETCH(int, method);
    QFETCH(quint32, compressed);
    QFETCH(quint32, uncompressed);
    QFETCH(bool, extracted);
    const QByteArray data = "a small file whose sizes lie\n";
    Entry e = method == 8 ? deflated("lie.txt", data) : stored("lie.txt", data);
    if (compressed)
        e.compressedSize = compressed;
    if (uncompressed)
        e.uncompressedSize = uncompressed;
    Scratch s;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(s.unzip(build({e, stored("after.txt", "after")})));
    QVERIFY2(timer.elapsed() < 10000, "a lying size must cost no time or memory in proportion to it");
    QCOMPARE(s.output(), extracted ? QStringList({"after.txt", "lie.txt"}) : QStringList({"after.txt"}));
    if (extracted)
        QCOMPARE(readFile(s.dest("lie.txt")), data);
    QVERIFY(s.outsideUntouched());
}

void TestUnzipHostile::offsetsThatPointAnywhere_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QStringList>("output");
    const std::vector<Entry> two = {stored("one.txt", "one"), stored("two.txt", "two")};
    {
        std::vector<Entry> entries = two;
        entries[0].localHeaderOffset = 1u << 20;
        QTest::newRow("local header past the end") << build(entries) << QStringList({"two.txt"});
        entries[0].localHeaderOffset = 0xFFFFFFFFu;
        QTest::newRow("local header at 0xFFFFFFFF") << build(entries) << QStringList({"two.txt"});
        entries[0].localHeaderOffset = static_cast<uint32_t>(build(two).size() - 10);
        QTest::newRow("local header in the last bytes") << build(entries) << QStringList({"two.txt"});
    }
    {
        Layout layout;
        layout.entryCount = 65535;
        QTest::newRow("count 65535, one real entry") << build({stored("only.txt", "x")}, layout)
                                                     << QStringList({"only.txt"});
    }
    {
        Layout layout;
        layout.directoryOffset = 30 + 7 + 1;  // inside one.txt's data
        QTest::newRow("directory offset inside an entry's data") << build(two, layout) << QStringList();
        layout.directoryOffset = 0xFFFFFFFFu;
        QTest::newRow("directory offset 0xFFFFFFFF") << build(two, layout) << QStringList();
        layout.directoryOffset = static_cast<uint32_t>(build(two).size() - 22 - 10);
        QTest::newRow("directory offset inside the directory") << build(two, layout) << QStringList();
    }
    {
        // The directory offset points into a stored entry whose data is itself a directory record
        // naming the other entry: the walk reads it like any other.
        const QByteArray inner = build({stored("real.txt", "real")});
        const int record = inner.indexOf("PK\x01\x02");
        const QByteArray fakeDirectory = inner.mid(record, inner.indexOf("PK\x05\x06") - record);
        QByteArray zip = build({stored("real.txt", "real"), stored("carrier.bin", fakeDirectory)});
        Layout layout;
        layout.directoryOffset = static_cast<uint32_t>(zip.indexOf(fakeDirectory));
        layout.entryCount = 2;
        QTest::newRow("directory inside an entry's data")
            << build({stored("real.txt", "real"), stored("carrier.bin", fakeDirectory)}, layout)
            << QStringList({"real.txt"});
    }
}

void TestUnzipHostile::offsetsThatPointAnywhere()
{
    QFETCH(QByteArray, archive);
    QFETCH(QStringList, output);
    Scratch s;
    QVERIFY(s.unzip(archive));
    QCOMPARE(s.output(), output);
    QVERIFY(s.outsideUntouched());
}

void TestUnzipHostile::overlappingBombExtractsOnce()
{
    // 200 directory records share one local header holding 8 MiB of zeros: without the overlap
    // rule they would write 1.6 GiB from a 10 KiB archive.
    std::vector<Entry> entries;
    Entry kernel;
    kernel.name = "0";
    kernel.payload = deflatedZeros(8 << 20);
    kernel.method = 8;
    kernel.uncompressedSize = 8 << 20;
    entries.push_back(kernel);
    for (int i = 1; i < 200; ++i) {
        Entry copy = kernel;
        copy.name = QByteArray::number(i);
        copy.shareLocalOf = 0;
        entries.push_back(copy);
    }
    entries.push_back(stored("after.txt", "after"));
    Scratch s;
    QVERIFY(s.unzip(build(entries)));
    QCOMPARE(s.output(), QStringList({"0", "after.txt"}));
    QCOMPARE(QFileInfo(s.dest("0")).size(), 8 << 20);
    QVERIFY(s.outsideUntouched());
}

void TestUnzipHostile::quotedOverlapIsSkipped()
{
    // Entry "a"'s stored data contains entry "b"'s local header and data: b overlaps a.
    const QByteArray innerZip = build({stored("b", "BBBB")});
    const QByteArray innerLocal = innerZip.left(innerZip.indexOf("PK\x01\x02"));
    Entry b = stored("b", "BBBB");
    b.localHeaderOffset = 30 + 1;  // where a's data (= b's local header) starts
    Scratch s;
    QVERIFY(s.unzip(build({stored("a", innerLocal), b})));
    QCOMPARE(s.output(), QStringList({"a"}));
    // The same entries in the other order: b first, then a covers it.
    Scratch t;
    std::vector<Entry> reversed = {b, stored("a", innerLocal)};
    reversed[0].localHeaderOffset = 31;
    QVERIFY(t.unzip(build(reversed)));
    QCOMPARE(t.output().size(), 1);
}

void TestUnzipHostile::honestBombStopsAtTheFreeSpaceFloor()
{
    // Two entries that honestly declare 256 MiB each, on a file system with 48 MiB to spare:
    // each stops at the floor and is deleted; the small entries around them still land.
    Entry big;
    big.payload = deflatedZeros(256 << 20);
    big.method = 8;
    big.uncompressedSize = 256u << 20;
    Entry big1 = big, big2 = big;
    big1.name = "big1";
    big2.name = "big2";
    Scratch s;
    const brisko::UnzipLimits limits = roomFor(s.dest(), 48u << 20);
    QVERIFY(s.unzip(build({stored("before.txt", "before"), big1, big2, deflated("after.txt", "after")}), limits));
    QCOMPARE(s.output(), QStringList({"after.txt", "before.txt"}));
    QVERIFY(s.outsideUntouched());
    // With the room it needs, the same entry lands whole.
    Scratch t;
    QVERIFY(t.unzip(build({big1}), roomFor(t.dest(), 300u << 20)));
    QCOMPARE(QFileInfo(t.dest("big1")).size(), qint64(256) << 20);
}

void TestUnzipHostile::storedEntryStopsAtTheFreeSpaceFloor()
{
    Scratch s;
    // The archive lies on the same file system: measure the room once it is there.
    QVERIFY(writeFile(s.path("archive.zip"), build({stored("big.bin", QByteArray(24 << 20, 'x')), stored("small.txt", "small")})));
    QVERIFY(s.unzipFile(s.path("archive.zip"), roomFor(s.dest(), 16u << 20)));
    QCOMPARE(s.output(), QStringList({"small.txt"}));
    // The default floor (5 % and 1 GiB) lets ordinary archives through.
    Scratch t;
    QVERIFY(t.unzip(build({stored("big.bin", QByteArray(24 << 20, 'x'))})));
    QCOMPARE(t.output(), QStringList({"big.bin"}));
}

QTEST_GUILESS_MAIN(TestUnzipHostile)
#include "tst_unzip_hostile.moc"
