#include "kit/rotate.h"

#include <QtTest>

#include <algorithm>
#include <cstring>
#include <vector>

using namespace brisko;

namespace {

// Every pixel distinct, X = 0 as the display server delivers it, row padding marked 0xEE.
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

// The first pixel that is not where a quarter turn puts it, or the padding was overrun.
QString rotationMismatch(int quad, int32_t w, int32_t h, int padding) {
    const int32_t stride = w * 4 + padding, outStride = (quad % 2 ? h : w) * 4;
    const std::vector<uint8_t> source = numberedFrame(w, h, stride);
    std::vector<uint8_t> out(size_t(w) * size_t(h) * 4 + 64, 0x11);
    const QString where = QStringLiteral("quad %1, %2x%3 padding %4").arg(quad).arg(w).arg(h).arg(padding);
    if (!_bkRotateOpaque(source.data(), w, h, stride, out.data(), quad)) return where + ": refused";
    for (int32_t r = 0; r < h; ++r)
        for (int32_t c = 0; c < w; ++c) {
            const QPoint to = quad == 1   ? QPoint(h - 1 - r, c)
                              : quad == 2 ? QPoint(w - 1 - c, h - 1 - r)
                                          : QPoint(r, w - 1 - c);
            if (pixelAt(out, outStride, to.y(), to.x()) != (pixelAt(source, stride, r, c) | 0xFF000000u))
                return where + QStringLiteral(": source %1,%2").arg(r).arg(c);
        }
    if (!std::all_of(out.end() - 64, out.end(), [](uint8_t b) { return b == 0x11; }))
        return where + ": overrun";
    return QString();
}

} // namespace

class RotateTest : public QObject {
    Q_OBJECT
  private slots:
    // Sizes cross the 4- and 8-pixel tiles and the 128-column strips, with and without row
    // padding, through the AVX2 tiles (where the processor has them) and the SSE2 ones.
    void everyPixelLandsTurnedAndOpaque() {
        const bool avx2 = s_rotateWithAvx2;
        const QSize sizes[] = {{1, 1}, {3, 5}, {4, 4}, {8, 12}, {67, 33}, {130, 129}, {1, 70}, {70, 1}};
        for (bool wide : {avx2, false}) {
            s_rotateWithAvx2 = wide;
            for (int quad = 1; quad <= 3; ++quad)
                for (const QSize& size : sizes)
                    for (int padding : {0, 12}) {
                        const QString mismatch = rotationMismatch(quad, size.width(), size.height(), padding);
                        QVERIFY2(mismatch.isEmpty(), qPrintable(mismatch));
                    }
        }
        s_rotateWithAvx2 = avx2;
    }
};

QTEST_GUILESS_MAIN(RotateTest)
#include "tst_rotate.moc"
