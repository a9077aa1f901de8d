#include "platform/audio/loop_device.h"
#include "platform/audio/looping_player.h"
#include "platform/audio/wav.h"

#include <QTest>
#include <QtEndian>

using namespace brisko::audio;

namespace {

QByteArray le16(quint16 v) {
    QByteArray b(2, '\0');
    qToLittleEndian(v, b.data());
    return b;
}

QByteArray le32(quint32 v) {
    QByteArray b(4, '\0');
    qToLittleEndian(v, b.data());
    return b;
}

QByteArray fmtChunk(quint16 encoding, quint16 channels, quint32 rate, quint16 bits, quint32 size = 16) {
    const quint16 align = quint16(channels * bits / 8);
    QByteArray body = le16(encoding) + le16(channels) + le32(rate) + le32(rate * align) + le16(align) + le16(bits);
    body.resize(std::max<qsizetype>(size, 0));
    return "fmt " + le32(size) + body;
}

QByteArray chunk(const QByteArray& id, const QByteArray& body, quint32 claimedSize = 0xFFFFFFFF) {
    QByteArray out = id + le32(claimedSize == 0xFFFFFFFF ? quint32(body.size()) : claimedSize) + body;
    if (body.size() % 2) out += '\0';
    return out;
}

QByteArray riff(const QByteArray& chunks) { return "RIFF" + le32(quint32(chunks.size() + 4)) + "WAVE" + chunks; }

} // namespace

class TestAudio : public QObject {
    Q_OBJECT

private slots:
    void readWav_data();
    void readWav();
    void loopDevice_data();
    void loopDevice();
};

void TestAudio::readWav_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("rate"); // 0: unreadable
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("sampleBytes");
    const QByteArray pcm16 = fmtChunk(1, 1, 16000, 16);
    const QByteArray samples(64, '\x01');

    QTest::newRow("16-bit mono") << riff(pcm16 + chunk("data", samples)) << 16000 << 1 << 64;
    QTest::newRow("8-bit stereo") << riff(fmtChunk(1, 2, 8000, 8) + chunk("data", samples)) << 8000 << 2 << 64;
    QTest::newRow("odd chunk skipped with its padding") << riff(pcm16 + chunk("LIST", "abc") + chunk("data", samples)) << 16000 << 1 << 64;
    QTest::newRow("data size beyond the file") << riff(pcm16 + chunk("data", samples, 1000)) << 16000 << 1 << 64;
    QTest::newRow("partial last frame dropped") << riff(fmtChunk(1, 2, 8000, 16) + chunk("data", QByteArray(66, 1))) << 8000 << 2 << 64;

    QTest::newRow("empty") << QByteArray() << 0 << 0 << 0;
    QTest::newRow("not wave") << QByteArray("RIFF\0\0\0\0AVI ", 12) + pcm16 + chunk("data", samples) << 0 << 0 << 0;
    QTest::newRow("float samples") << riff(fmtChunk(3, 1, 16000, 32) + chunk("data", samples)) << 0 << 0 << 0;
    QTest::newRow("no channels") << riff(fmtChunk(1, 0, 16000, 16) + chunk("data", samples)) << 0 << 0 << 0;
    QTest::newRow("short fmt chunk") << riff(fmtChunk(1, 1, 16000, 16, 12) + chunk("data", samples)) << 0 << 0 << 0;
    QTest::newRow("data before fmt") << riff(chunk("data", samples) + pcm16) << 0 << 0 << 0;
    QTest::newRow("no data") << riff(pcm16) << 0 << 0 << 0;
    QTest::newRow("empty data") << riff(pcm16 + chunk("data", {})) << 0 << 0 << 0;
    QTest::newRow("chunk size past the end") << riff(pcm16 + chunk("LIST", "ab", 0xFFFFFFF0) + chunk("data", samples)) << 0 << 0 << 0;
}

void TestAudio::readWav() {
    QFETCH(QByteArray, file);
    QFETCH(int, rate);
    QFETCH(int, channels);
    QFETCH(int, sampleBytes);
    const auto sound = brisko::audio::readWav(file);
    QCOMPARE(sound.has_value(), rate != 0);
    if (!sound) {
        QVERIFY(!LoopingPlayer::create(file));
        return;
    }
    QCOMPARE(sound->format.sampleRate(), rate);
    QCOMPARE(sound->format.channelCount(), channels);
    QCOMPARE(sound->samples.size(), sampleBytes);
}

void TestAudio::loopDevice_data() {
    QTest::addColumn<int>("loops");
    QTest::addColumn<int>("readSize");
    QTest::addColumn<int>("expectedTotal"); // -1: keeps going
    QTest::newRow("endless, small reads") << -1 << 3 << -1;
    QTest::newRow("endless, reads larger than the block") << -1 << 25 << -1;
    QTest::newRow("once") << 0 << 4 << 10;
    QTest::newRow("three passes") << 2 << 7 << 30;
}

// The block is "0123456789"; whatever the read size, the bytes must continue the pattern.
void TestAudio::loopDevice() {
    QFETCH(int, loops);
    QFETCH(int, readSize);
    QFETCH(int, expectedTotal);
    LoopDevice device("0123456789", loops);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QByteArray all;
    for (int i = 0; i < 100; ++i) {
        const QByteArray part = device.read(readSize);
        if (part.isEmpty()) break;
        all += part;
    }
    if (expectedTotal < 0) {
        QCOMPARE(all.size(), 100 * readSize);
        QVERIFY(device.bytesAvailable() > 0);
    } else {
        QCOMPARE(all.size(), expectedTotal);
        QVERIFY(device.atEnd());
    }
    for (int i = 0; i < all.size(); ++i) QCOMPARE(all[i], char('0' + i % 10));
}

QTEST_GUILESS_MAIN(TestAudio)
#include "tst_audio.moc"
