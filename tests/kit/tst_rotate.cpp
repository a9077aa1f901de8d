#include "kit/capture.h"
#include "kit/rotate.h"

#include <QtTest>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

using namespace brisko;

namespace {

// A frame whose every pixel is distinct, with X = 0 as the display server delivers it
// and the padding at the end of each row filled with a marker that must never be copied.
std::vector<uint8_t> numberedFrame(int32_t width, int32_t height, int32_t stride) {
    std::vector<uint8_t> frame(size_t(stride) * size_t(height), 0xEE);
    for (int32_t row = 0; row < height; ++row)
        for (int32_t column = 0; column < width; ++column) {
            const uint32_t pixel = (uint32_t(row) << 12 | uint32_t(column)) & 0xFFFFFF;
            std::memcpy(&frame[size_t(row) * size_t(stride) + size_t(column) * 4], &pixel, 4);
        }
    return frame;
}

uint32_t pixelAt(const std::vector<uint8_t>& frame, int32_t stride, int32_t row, int32_t column) {
    uint32_t pixel;
    std::memcpy(&pixel, &frame[size_t(row) * size_t(stride) + size_t(column) * 4], 4);
    return pixel;
}

// Source (row, column) seen after quad quarter turns clockwise, as (row, column) of the result.
QPoint turned(int quad, int32_t width, int32_t height, int32_t row, int32_t column) {
    switch (quad) {
    case 1: return QPoint(height - 1 - row, column);
    case 2: return QPoint(width - 1 - column, height - 1 - row);
    default: return QPoint(row, width - 1 - column);
    }
}

} // namespace

class RotateTest : public QObject {
    Q_OBJECT
private slots:
    void rotation_data() {
        QTest::addColumn<int>("quad");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("padding");
        const QList<QSize> sizes = {{1, 1}, {3, 5}, {4, 4}, {8, 12}, {67, 33}, {130, 129}, {1, 70}, {70, 1}};
        for (int quad = 1; quad <= 3; ++quad)
            for (const QSize& size : sizes)
                for (int padding : {0, 12}) {
                    const QByteArray name = QByteArray::number(quad) + " " + QByteArray::number(size.width()) + "x" +
                                            QByteArray::number(size.height()) + " pad " + QByteArray::number(padding);
                    QTest::newRow(name.constData()) << quad << size.width() << size.height() << padding;
                }
    }

    void rotation() {
        QFETCH(int, quad);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, padding);
        const int32_t stride = width * 4 + padding;
        const std::vector<uint8_t> source = numberedFrame(width, height, stride);
        const int32_t outWidth = quad % 2 ? height : width;
        std::vector<uint8_t> out(size_t(width) * size_t(height) * 4 + 64, 0x11);
        QVERIFY(_bkRotateOpaque(source.data(), width, height, stride, out.data(), quad));
        for (int32_t row = 0; row < height; ++row)
            for (int32_t column = 0; column < width; ++column) {
                const QPoint at = turned(quad, width, height, row, column);
                const uint32_t expected = pixelAt(source, stride, row, column) | 0xFF000000u;
                if (pixelAt(out, outWidth * 4, at.y(), at.x()) != expected)
                    QFAIL(qPrintable(QStringLiteral("source %1,%2").arg(row).arg(column)));
            }
        QVERIFY(std::all_of(out.end() - 64, out.end(), [](uint8_t b) { return b == 0x11; }));
    }

    void refusesFramesThatAreNotThere_data() {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("stride");
        QTest::addColumn<int>("quad");
        QTest::newRow("no turn") << 4 << 4 << 16 << 0;
        QTest::newRow("four turns") << 4 << 4 << 16 << 4;
        QTest::newRow("zero width") << 0 << 4 << 16 << 1;
        QTest::newRow("negative height") << 4 << -4 << 16 << 1;
        QTest::newRow("short stride") << 4 << 4 << 15 << 1;
        QTest::newRow("negative stride") << 4 << 4 << -16 << 2;
    }

    void refusesFramesThatAreNotThere() {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, stride);
        QFETCH(int, quad);
        std::vector<uint8_t> source(64, 1), out(64, 7);
        QVERIFY(!_bkRotateOpaque(source.data(), width, height, stride, out.data(), quad));
        QVERIFY(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 7; }));
        QVERIFY(!_bkRotateOpaque(nullptr, 4, 4, 16, out.data(), 1));
        QVERIFY(!_bkRotateOpaque(source.data(), 4, 4, 16, nullptr, 1));
    }

    void makeOpaqueLeavesColourAndPadding() {
        const int32_t width = 7, height = 3, stride = width * 4 + 8;
        std::vector<uint8_t> frame = numberedFrame(width, height, stride);
        const std::vector<uint8_t> before = frame;
        _bkMakeOpaque(frame.data(), width, height, stride);
        for (size_t i = 0; i < frame.size(); ++i) {
            const bool alpha = i % size_t(stride) < size_t(width) * 4 && i % 4 == 3;
            QCOMPARE(frame[i], alpha ? uint8_t(0xFF) : before[i]);
        }
        _bkMakeOpaque(nullptr, width, height, stride);
        _bkMakeOpaque(frame.data(), width, height, 4);
    }

    void bufferGrowth_data() {
        QTest::addColumn<quint64>("startSize");
        QTest::addColumn<quint64>("needed");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<bool>("sameBlock");
        QTest::addColumn<quint64>("capacityAfter");
        QTest::newRow("first block") << quint64(0) << quint64(100) << true << false << quint64(100);
        QTest::newRow("same size reused") << quint64(100) << quint64(100) << true << true << quint64(100);
        QTest::newRow("smaller reuses the larger") << quint64(4096) << quint64(10) << true << true << quint64(4096);
        QTest::newRow("grows to exactly the need") << quint64(100) << quint64(101) << true << false << quint64(101);
        QTest::newRow("impossible keeps the old") << quint64(100) << ~quint64(0) << false << true << quint64(100);
        QTest::newRow("impossible with none") << quint64(0) << ~quint64(0) << false << true << quint64(0);
    }

    void bufferGrowth() {
        QFETCH(quint64, startSize);
        QFETCH(quint64, needed);
        uint8_t* buffer = nullptr;
        uint64_t capacity = 77; // stale without a buffer
        if (startSize) QVERIFY(_ensureBufferCapacity(&buffer, &capacity, startSize));
        uint8_t* const before = buffer;
        QTEST(_ensureBufferCapacity(&buffer, &capacity, needed), "ok");
        QFETCH(bool, sameBlock);
        QCOMPARE(buffer == before, sameBlock);
        QTEST(quint64(capacity), "capacityAfter");
        if (buffer) buffer[capacity - 1] = 1; // the whole capacity is ours
        std::free(buffer);
    }

    void bufferGrowthNeedsBothAddresses() {
        uint8_t* buffer = nullptr;
        uint64_t capacity = 0;
        QVERIFY(!_ensureBufferCapacity(nullptr, &capacity, 8));
        QVERIFY(!_ensureBufferCapacity(&buffer, nullptr, 8));
        QVERIFY(!buffer);
    }
};

QTEST_GUILESS_MAIN(RotateTest)
#include "tst_rotate.moc"
