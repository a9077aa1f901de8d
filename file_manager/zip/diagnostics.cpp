#include "diagnostics.h"

#include <atomic>

namespace brisko::zip {
namespace {
std::atomic<SkipSink> s_sink{nullptr};
} // namespace

void setSkipSink(SkipSink sink) {
    s_sink = sink;
}

void reportSkip(std::string_view entry, const char* reason) {
    if (const SkipSink sink = s_sink.load()) sink(entry, reason);
}

} // namespace brisko::zip
