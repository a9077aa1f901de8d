// BKUnzipFile against hostile archives: names that try to leave the destination, links planted
// in it, size fields and offsets that lie, and overlapping entries.
#include <QtTest>

#include "scratch.h"

using namespace ziptest;

class TestUnzipHostile : public QObject {
    Q_OBJECT

  private slots:
    void entryNames_data();
    void entryNames();
    void plantedLinksAreNeverWrittenThrough_data();
    void plantedLinksAreNeverWrittenThrough();
    void fieldsThatLie_data();
    void fieldsThatLie();
};

void TestUnzipHostile::entryNames_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QStringList>("output");
    const QStringList nothing;
    QTest::newRow("../x") << QByteArray("../x") << nothing;
    QTest::newRow("x/../../y") << QByteArray("x/../../y") << nothing;
    QTest::newRow("a..b.txt") << QByteArray("a..b.txt") << nothing; // ".." anywhere, even harmless
    QTest::newRow("/abs/z.txt") << QByteArray("/abs/z.txt") << QStringList({"abs/", "abs/z.txt"});
    QTest::newRow("a/./b.txt") << QByteArray("a/./b.txt") << QStringList({"a/", "a/b.txt"});
    QTest::newRow("a/. (a folder, no file)") << QByteArray("a/.") << QStringList({"a/"});
    QTest::newRow(".") << QByteArray(".") << nothing;
    QTest::newRow("empty") << QByteArray("") << nothing;
    QTest::newRow("/") << QByteArray("/") << nothing;
    QTest::newRow("NUL inside") << QByteArray("evil\0.txt", 9) << nothing;
    QTest::newRow("path past PATH_MAX") << QByteArray("d/").repeated(2100) + "f" << nothing;
    QTest::newRow("overlong slash") << QByteArray("a\xc0\xaf"
                                                  "b")
                                    << QStringList({"aÀ¯b"});
}

void TestUnzipHostile::entryNames() {
    QFETCH(QByteArray, name);
    QFETCH(QStringList, output);
    Scratch s;
    QVERIFY(s.unzip(build({stored(name, "payload")})));
    QCOMPARE(s.output(), output);
    QVERIFY(s.outsideUntouched());
}

void TestUnzipHostile::plantedLinksAreNeverWrittenThrough_data() {
    QTest::addColumn<QString>("link"); // planted in dest
    QTest::addColumn<QString>("target");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("output");
    QTest::newRow("folder link out") << "up"
                                     << "../outside" << QByteArray("up/new.txt") << "real/ up@";
    QTest::newRow("link inside climbs out")
        << "real/esc"
        << "../../outside" << QByteArray("real/esc/victim.txt") << "real/ real/esc@";
    QTest::newRow("folder link inside") << "in"
                                        << "real" << QByteArray("in/x.txt") << "in@ real/ real/x.txt";
    QTest::newRow("file link out is replaced")
        << "victim.txt"
        << "../outside/victim.txt" << QByteArray("victim.txt") << "real/ victim.txt";
    QTest::newRow("dangling link is replaced")
        << "ghost.txt"
        << "../outside/ghost.txt" << QByteArray("ghost.txt") << "ghost.txt real/";
    QTest::newRow("link loop") << "loop"
                               << "loop" << QByteArray("loop/x") << "loop@ real/";
}

void TestUnzipHostile::plantedLinksAreNeverWrittenThrough() {
    QFETCH(QString, link);
    QFETCH(QString, target);
    QFETCH(QByteArray, name);
    QFETCH(QString, output);
    Scratch s;
    QVERIFY(QDir().mkpath(s.dest("real")));
    QVERIFY(QFile::link(target, s.dest(link)));
    QVERIFY(s.unzip(build({stored(name, "payload")})));
    QCOMPARE(s.output(), output.split(' '));
    QVERIFY(s.outsideUntouched());
    for (const QString& entry : output.split(' '))
        if (!entry.endsWith('/') && !entry.endsWith('@'))
            QCOMPARE(readFile(s.dest(entry)), QByteArray("payload"));
}

void TestUnzipHostile::fieldsThatLie_data() {
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QStringList>("output");
    const Entry after = stored("after.txt", "after");
    const QStringList afterOnly({"after.txt"});

    // A lying size must cost neither time nor memory in proportion to it.
    const auto lie = [&](Entry e, quint32 compressed, quint32 uncompressed) {
        e.compressedSize = compressed ? compressed : e.payload.size();
        e.uncompressedSize = uncompressed ? uncompressed : e.uncompressedSize;
        return build({e, after});
    };
    const QByteArray data = "a small file whose sizes lie\n";
    const QStringList both({"after.txt", "lie"});
    QTest::newRow("stored, compressed 0xFFFFFFFF") << lie(stored("lie", data), ~0u, 0) << afterOnly;
    QTest::newRow("stored, uncompressed 0xFFFFFFFF") << lie(stored("lie", data), 0, ~0u) << both;
    QTest::newRow("deflate, uncompressed 0xFFFFFFFF") << lie(deflated("lie", data), 0, ~0u) << both;
    QTest::newRow("deflate, both 0xFFFFFFFF") << lie(deflated("lie", data), ~0u, ~0u) << afterOnly;

    Entry one = stored("one.txt", "one");
    one.localHeaderOffset = 0; // no header of its own
    const uint32_t end = build({one, after}).size();
    for (const uint32_t offset : {end - 10, end, 0xFFFFFFFFu}) {
        one.localHeaderOffset = offset;
        QTest::addRow("local header at %u of %u", offset, end) << build({one, after}) << afterOnly;
    }
    Layout count, intoData, pastEnd;
    count.entryCount = 65535;
    QTest::newRow("count 65535, one real entry") << build({after}, count) << afterOnly;
    intoData.directoryOffset = 30 + 7 + 1;
    QTest::newRow("directory offset into one.txt's data")
        << build({stored("one.txt", "one")}, intoData) << QStringList();
    pastEnd.directoryOffset = 0xFFFFFFFF;
    QTest::newRow("directory offset 0xFFFFFFFF") << build({after}, pastEnd) << QStringList();

    // Overlapping bomb: 200 records share one local header holding 8 MiB of zeros.
    std::vector<Entry> bomb(200, deflated("0", QByteArray(1 << 20, '\0'), 8 << 20));
    for (int i = 1; i < 200; ++i) {
        bomb[i].name = QByteArray::number(i);
        bomb[i].localHeaderOffset = 0;
    }
    bomb.push_back(after);
    QTest::newRow("records sharing a local header") << build(bomb) << QStringList({"0", "after.txt"});
    // b's local header and data sit inside a's stored data, whichever is listed first.
    const QByteArray bZip = build({stored("b", "BBBB")});
    Entry a = stored("a", bZip.left(bZip.indexOf("PK\x01\x02"))), b = stored("b", "BBBB");
    b.localHeaderOffset = 30 + 1;
    QTest::newRow("entry inside an earlier one") << build({a, b}) << QStringList({"a"});
    QTest::newRow("entry inside a later one") << build({b, a}) << QStringList({"b"});
}

void TestUnzipHostile::fieldsThatLie() {
    QFETCH(QByteArray, archive);
    QFETCH(QStringList, output);
    Scratch s;
    QVERIFY(s.unzip(archive));
    QCOMPARE(s.output(), output);
    QVERIFY(s.outsideUntouched());
}

QTEST_GUILESS_MAIN(TestUnzipHostile)
#include "tst_unzip_hostile.moc"
