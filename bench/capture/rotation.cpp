// Rotation of one frame against memcpy of the same bytes: how close to memory speed it runs.
#include "bench/capture/timing.h"

#include "kit/rotate.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace brisko::bench {

void measureRotation(int width, int height, int runs) {
    const size_t bytes = size_t(width) * size_t(height) * 4;
    std::vector<uint8_t> source(bytes), destination(bytes);
    for (size_t i = 0; i < bytes; ++i)
        source[i] = uint8_t(i * 7);
    const Timing copy = timeCalls(runs, [&] { std::memcpy(destination.data(), source.data(), bytes); });
    std::printf("rotation %dx%d, %d runs; peer memcpy of the same %.1f MB: median %.3f ms, best %.3f ms\n",
                width, height, runs, double(bytes) / 1e6, copy.median, copy.best);
    const bool avx2 = s_rotateWithAvx2;
    for (int quad = 1; quad <= 3; ++quad) {
        for (bool wide : {true, false}) {
            if (wide && (!avx2 || quad == 2)) continue;
            s_rotateWithAvx2 = wide;
            const Timing turn = timeCalls(runs, [&] {
                _bkRotateOpaque(source.data(), width, height, width * 4, destination.data(), quad);
            });
            std::printf("  quad %d%-13s median %.3f ms, best %.3f ms; ratio ours/memcpy time: median %.2f, "
                        "best %.2f\n",
                        quad,
                        quad == 2 ? ":"
                        : wide    ? ", AVX2 8x8:"
                                  : ", SSE2 4x4:",
                        turn.median, turn.best, turn.median / copy.median, turn.best / copy.best);
        }
    }
    s_rotateWithAvx2 = avx2;
}

} // namespace brisko::bench
