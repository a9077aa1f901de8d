#include "log_search.h"

#include <algorithm>
#include <cstring>

namespace brisko {

namespace {

// Backwards runs over windows of this size, so a match near the cursor is found without
// scanning the whole log first.
constexpr qint64 kBackwardWindow = 1 << 20;

struct Needle {
    QByteArray bytes; // lower-cased when folding
    bool caseSensitive = true;
};

char foldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c;
}

Needle makeNeedle(QByteArrayView bytes, bool caseSensitive) {
    QByteArray folded = bytes.toByteArray();
    if (!caseSensitive) std::transform(folded.begin(), folded.end(), folded.begin(), foldAscii);
    return {folded, caseSensitive};
}

qint64 findFolded(const char* data, qint64 size, const QByteArray& needle, qint64 from) {
    const qint64 last = size - needle.size();
    const char first = needle.front();
    for (qint64 at = from; at <= last; ++at) {
        if (foldAscii(data[at]) != first) continue;
        qint64 i = 1;
        while (i < needle.size() && foldAscii(data[at + i]) == needle[i])
            ++i;
        if (i == needle.size()) return at;
    }
    return -1;
}

qint64 findForward(const char* data, qint64 size, const Needle& needle, qint64 from) {
    if (from < 0 || from >= size) return -1;
    if (!needle.caseSensitive) return findFolded(data, size, needle.bytes, from);
    const void* hit =
        memmem(data + from, size_t(size - from), needle.bytes.data(), size_t(needle.bytes.size()));
    return hit ? static_cast<const char*>(hit) - data : -1;
}

// The last occurrence that starts before limit.
qint64 findBackward(const char* data, qint64 size, const Needle& needle, qint64 limit) {
    const qint64 length = needle.bytes.size();
    qint64 windowEnd = std::min(size, limit + length - 1);
    while (windowEnd >= length) {
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
        windowEnd = windowStart + length - 1;
        limit = windowStart;
    }
    return -1;
}

} // namespace

qint64 findInLog(const char* data, qint64 size, QByteArrayView bytes, qint64 from, bool forward,
                 bool caseSensitive) {
    if (!data || bytes.isEmpty() || bytes.size() > size) return -1;
    const Needle needle = makeNeedle(bytes, caseSensitive);
    from = std::clamp<qint64>(from, 0, size);
    if (forward) {
        const qint64 hit = findForward(data, size, needle, from);
        return hit >= 0 ? hit : findForward(data, size, needle, 0);
    }
    const qint64 hit = findBackward(data, size, needle, from);
    return hit >= 0 ? hit : findBackward(data, size, needle, size);
}

QList<qint64> matchesInLine(QByteArrayView line, QByteArrayView bytes, bool caseSensitive) {
    QList<qint64> offsets;
    if (bytes.isEmpty()) return offsets;
    const Needle needle = makeNeedle(bytes, caseSensitive);
    for (qint64 at = findForward(line.data(), line.size(), needle, 0); at >= 0;
         at = findForward(line.data(), line.size(), needle, at + bytes.size()))
        offsets << at;
    return offsets;
}

} // namespace brisko
