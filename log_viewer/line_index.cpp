#include "line_index.h"

#include <algorithm>
#include <cstring>

namespace brisko {

namespace {

// Calls onStart with each line start that follows a '\n' in data[from, limit - 1).
template <typename OnStart>
void forEachLineStart(const char* data, qint64 from, qint64 limit, OnStart onStart) {
    const char* p = data + from;
    const char* end = data + limit - 1;
    while (p < end) {
        const void* hit = std::memchr(p, '\n', size_t(end - p));
        if (!hit) break;
        p = static_cast<const char*>(hit) + 1;
        onStart(uint32_t(p - data));
    }
}

void collectStarts(LineStarts& out, const char* data, qint64 from, qint64 limit) {
    forEachLineStart(data, from, limit, [&](uint32_t start) { out.push_back(start); });
}

} // namespace

LineStarts indexTail(const char* data, qint64 size, qint64 maxLines) {
    LineStarts starts;
    if (size <= 0 || maxLines <= 0) return starts;
    qint64 end = data[size - 1] == '\n' ? size - 1 : size;
    while (qint64(starts.size()) < maxLines) {
        const void* hit = end > 0 ? memrchr(data, '\n', size_t(end)) : nullptr;
        if (!hit) {
            starts.push_back(0);
            break;
        }
        end = static_cast<const char*>(hit) - data;
        starts.push_back(uint32_t(end + 1));
    }
    std::reverse(starts.begin(), starts.end());
    return starts;
}

LineStarts indexHead(const char* data, qint64 limit) {
    LineStarts starts;
    if (limit <= 0) return starts;
    // Counted first so the index holds exactly what it needs.
    size_t count = 1;
    forEachLineStart(data, 0, limit, [&](uint32_t) { ++count; });
    starts.reserve(count);
    starts.push_back(0);
    collectStarts(starts, data, 0, limit);
    return starts;
}

bool appendLines(LineStarts& starts, const char* data, qint64 oldSize, qint64 newSize) {
    if (newSize <= oldSize) return false;
    const bool lastLineGrew = oldSize > 0 && data[oldSize - 1] != '\n';
    if (!lastLineGrew) starts.push_back(uint32_t(oldSize));
    collectStarts(starts, data, oldSize, newSize);
    return lastLineGrew;
}

QByteArrayView lineBytes(const LineStarts& starts, const char* data, qint64 size, qint64 line) {
    if (line < 0 || line >= qint64(starts.size())) return {};
    const qint64 begin = starts[size_t(line)];
    qint64 end = line + 1 < qint64(starts.size()) ? qint64(starts[size_t(line + 1)]) : size;
    if (end > begin && data[end - 1] == '\n') --end;
    if (end > begin && data[end - 1] == '\r') --end;
    return QByteArrayView(data + begin, end - begin);
}

qint64 lineAtOffset(const LineStarts& starts, qint64 offset) {
    auto it = std::upper_bound(starts.begin(), starts.end(), uint64_t(std::max<qint64>(offset, 0)));
    return qint64(it - starts.begin()) - 1;
}

} // namespace brisko
