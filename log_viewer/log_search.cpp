#include "log_search.h"

#include <algorithm>
#include <cstring>

namespace brisko {

namespace {

// Backwards runs over windows of this size, so a match near the cursor is found without
// scanning the whole log first.
constexpr qint64 kBackwardWindow = 1 << 20;

qint64 findForward(const char* data, qint64 size, QByteArrayView needle, qint64 from) {
    if (from < 0 || from >= size) return -1;
    const void* hit = memmem(data + from, size_t(size - from), needle.data(), size_t(needle.size()));
    return hit ? static_cast<const char*>(hit) - data : -1;
}

// The last occurrence that starts before limit.
qint64 findBackward(const char* data, qint64 size, QByteArrayView needle, qint64 limit) {
    qint64 windowEnd = std::min(size, limit + needle.size() - 1);
    while (windowEnd >= needle.size()) {
        const qint64 windowStart = std::max<qint64>(0, windowEnd - kBackwardWindow);
        qint64 last = -1;
        for (qint64 at = windowStart;;) {
            const qint64 hit = findForward(data, windowEnd, needle, at);
            if (hit < 0 || hit >= limit) break;
            last = hit;
            at = hit + 1;
        }
        if (last >= 0) return last;
        if (windowStart == 0) break;
        // The next window overlaps by needle - 1 bytes so a match across the seam is seen.
        windowEnd = windowStart + needle.size() - 1;
        limit = windowStart;
    }
    return -1;
}

} // namespace

qint64 findInLog(const char* data, qint64 size, QByteArrayView needle, qint64 from, bool forward) {
    if (!data || needle.isEmpty() || needle.size() > size) return -1;
    from = std::clamp<qint64>(from, 0, size);
    if (forward) {
        const qint64 hit = findForward(data, size, needle, from);
        return hit >= 0 ? hit : findForward(data, size, needle, 0);
    }
    const qint64 hit = findBackward(data, size, needle, from);
    return hit >= 0 ? hit : findBackward(data, size, needle, size);
}

} // namespace brisko
