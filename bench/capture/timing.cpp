#include "bench/capture/timing.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace brisko::bench {

Timing timeCalls(int runs, const std::function<void()>& call) {
    for (int i = 0; i < 5; ++i)
        call();
    std::vector<double> samples;
    samples.reserve(size_t(runs));
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        call();
        samples.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(samples.begin(), samples.end());
    return {samples[samples.size() / 2], samples.front()};
}

} // namespace brisko::bench
