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
    for (int quad = 1; quad <= 3; ++quad) {
        const Timing turn = timeCalls(runs, [&] {
            _bkRotateOpaque(source.data(), width, height, width * 4, destination.data(), quad);
        });
        std::printf(
            "  quad %d: median %.3f ms, best %.3f ms; ratio ours/memcpy time: median %.2f, best %.2f\n", quad,
            turn.median, turn.best, turn.median / copy.median, turn.best / copy.best);
    }
}

} // namespace brisko::bench
