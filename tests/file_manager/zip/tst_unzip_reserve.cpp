// The free-space reserve on a small device, with the free space faked: it shrinks by what the
// extraction has written so far, as a real disk's would.
#include <QTest>

#include "scratch.h"

using namespace ziptest;

class TestUnzipReserve : public QObject {
    Q_OBJECT
  private slots:
    void reserve_data();
    void reserve();
};

namespace {

constexpr quint64 kMiB = quint64(1) << 20;

quint64 bytesUnder(const QString& folder) {
    quint64 total = 0;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        total += quint64(QFileInfo(it.next()).size());
    return total;
}

} // namespace

void TestUnzipReserve::reserve_data() {
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<quint64>("freeMiB");
    QTest::addColumn<QStringList>("output");
    // Zeros deflate to almost nothing: the sizes below are what lands on the disk.
    const Entry hundred = deflated("part", QByteArray(1 << 20, '\0'), 100 << 20);
    auto named = [](Entry e, const char* name) {
        e.name = name;
        return e;
    };
    QTest::newRow("400 MiB honest archive, 600 MiB free")
        << build({named(hundred, "a.bin"), named(hundred, "b.bin"), named(hundred, "c.bin"),
                  named(hundred, "d.bin")})
        << quint64(600) << QStringList({"a.bin", "b.bin", "c.bin", "d.bin"});
    const Entry quarter = deflated("big", QByteArray(1 << 20, '\0'), 256 << 20);
    QTest::newRow("honest bomb: 4 x 256 MiB")
        << build({stored("before.txt", "before"), named(quarter, "1.bin"), named(quarter, "2.bin"),
                  named(quarter, "3.bin"), named(quarter, "4.bin"), stored("small.txt", "small")})
        << quint64(600) << QStringList({"1.bin", "before.txt", "small.txt"});
    QTest::newRow("stored entry past the reserve")
        << build({stored("big.bin", QByteArray(24 << 20, 'x')), stored("small.txt", "small")}) << quint64(140)
        << QStringList{"small.txt"};
    // Every entry points at the same data: overlapping entries never get past the first.
    Entry shared = named(quarter, "x0.bin");
    std::vector<Entry> overlapping{shared};
    for (int i = 1; i < 8; ++i) {
        Entry alias = named(quarter, QByteArray("x") + QByteArray::number(i) + ".bin");
        alias.localHeaderOffset = 0;
        overlapping.push_back(alias);
    }
    QTest::newRow("overlapping bomb") << build(overlapping) << quint64(600) << QStringList{"x0.bin"};
}

void TestUnzipReserve::reserve() {
    QFETCH(QByteArray, archive);
    QFETCH(quint64, freeMiB);
    QFETCH(QStringList, output);
    Scratch s;
    const QString dest = s.dest();
    const quint64 freeAtStart = freeMiB * kMiB;
    quint64 lowestFree = freeAtStart;
    brisko::UnzipLimits limits; // the shipped reserve
    limits.freeSpace = [&](int, uint64_t& available) {
        const quint64 used = bytesUnder(dest);
        available = used < freeAtStart ? freeAtStart - used : 0;
        lowestFree = std::min<quint64>(lowestFree, available);
        return true;
    };
    QFile file(s.path("archive.zip"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(archive) == archive.size());
    file.close();
    QVERIFY(brisko::BKUnzipFile(QFile::encodeName(s.path("archive.zip")).toStdString(),
                                QFile::encodeName(dest).toStdString(), limits));
    QCOMPARE(s.output(), output);
    for (const QString& name : output) { // whole files, never cut short
        const bool hundred = QStringList({"a.bin", "b.bin", "c.bin", "d.bin"}).contains(name);
        if (name.endsWith(".bin"))
            QCOMPARE(QFileInfo(s.dest(name)).size(), qint64((hundred ? 100 : 256) * kMiB));
    }
    // Whatever the archive, the disk never ran out.
    QVERIFY(freeAtStart - bytesUnder(dest) >= limits.minFreeBytes);
}

QTEST_GUILESS_MAIN(TestUnzipReserve)
#include "tst_unzip_reserve.moc"
