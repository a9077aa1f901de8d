#include "platform/audio/LoopDevice.h"
#include "platform/audio/LoopingPlayer.h"
#include "platform/audio/wav.h"

#include <QtTest>

using namespace brisko::audio;

namespace {

template <typename T> QByteArray le(T v) {
    QByteArray b(sizeof v, '\0');
    qToLittleEndian(v, b.data());
    return b;
}

QByteArray fmtChunk(quint16 encoding, quint16 channels, quint32 rate, quint16 bits, quint32 size = 16) {
    const quint16 align = quint16(channels * bits / 8);
    QByteArray body = le(encoding) + le(channels) + le(rate) + le(rate * align) + le(align) + le(bits);
    body.resize(size);
    return "fmt " + le(size) + body;
}

QByteArray chunk(const QByteArray& id, const QByteArray& body, qint64 claimedSize = -1) {
    QByteArray out = id + le(quint32(claimedSize < 0 ? body.size() : claimedSize)) + body;
    return body.size() % 2 ? out + '\0' : out;
}

QByteArray riff(const QByteArray& chunks) {
    return "RIFF" + le(quint32(chunks.size() + 4)) + "WAVE" + chunks;
}

} // namespace

class TestAudio : public QObject {
    Q_OBJECT

  private slots:
    void readWav_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("sound"); // rate/channels/sample bytes; empty: unreadable
        const QByteArray pcm16 = fmtChunk(1, 1, 16000, 16), data = chunk("data", QByteArray(64, 1));
        QTest::newRow("16-bit mono") << riff(pcm16 + data) << "16000/1/64";
        QTest::newRow("8-bit stereo") << riff(fmtChunk(1, 2, 8000, 8) + data) << "8000/2/64";
        QTest::newRow("odd chunk skipped with its padding")
            << riff(pcm16 + chunk("LIST", "abc") + data) << "16000/1/64";
        QTest::newRow("data size beyond the file")
            << riff(pcm16 + chunk("data", QByteArray(64, 1), 1000)) << "16000/1/64";
        QTest::newRow("partial last frame dropped")
            << riff(fmtChunk(1, 2, 8000, 16) + chunk("data", QByteArray(66, 1))) << "8000/2/64";
        QTest::newRow("not wave") << QByteArray("RIFF\0\0\0\0AVI ", 12) + pcm16 + data << "";
        QTest::newRow("float samples") << riff(fmtChunk(3, 1, 16000, 32) + data) << "";
        QTest::newRow("short fmt chunk") << riff(fmtChunk(1, 1, 16000, 16, 12) + data) << "";
        QTest::newRow("empty data") << riff(pcm16 + chunk("data", {})) << "";
        QTest::newRow("chunk size past the end")
            << riff(pcm16 + chunk("LIST", "ab", 0xFFFFFFF0) + data) << "";
    }
    void readWav() {
        QFETCH(QByteArray, file);
        const auto sound = brisko::audio::readWav(file);
        const QString read = sound ? QString("%1/%2/%3")
                                         .arg(sound->format.sampleRate())
                                         .arg(sound->format.channelCount())
                                         .arg(sound->samples.size())
                                   : QString();
        QTEST(read, "sound");
        if (!sound) QVERIFY(!LoopingPlayer::create(file));
    }

    // Whatever the read size, the bytes continue the pattern "0123456789".
    void loopDevice_data() {
        QTest::addColumn<int>("loops");
        QTest::addColumn<int>("readSize");
        QTest::addColumn<int>("expectedTotal"); // -1: keeps going
        QTest::newRow("endless, reads larger than the block") << -1 << 25 << -1;
        QTest::newRow("three passes") << 2 << 7 << 30;
    }
    void loopDevice() {
        QFETCH(int, loops);
        QFETCH(int, readSize);
        QFETCH(int, expectedTotal);
        LoopDevice device("0123456789", loops);
        QVERIFY(device.open(QIODevice::ReadOnly));
        QByteArray all;
        for (int i = 0; i < 100 && !device.atEnd(); ++i)
            all += device.read(readSize);
        QCOMPARE(all.size(), expectedTotal < 0 ? 100 * readSize : expectedTotal);
        QCOMPARE(device.atEnd(), expectedTotal >= 0);
        for (int i = 0; i < all.size(); ++i)
            QCOMPARE(all[i], char('0' + i % 10));
    }
};

QTEST_GUILESS_MAIN(TestAudio)
#include "tst_audio.moc"
