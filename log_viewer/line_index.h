#pragma once
// Where each line of a log starts. A line ends before its '\n' (and a '\r' before that); a
// final line without '\n' is still a line, and a file ending in '\n' has no empty last line.
// Offsets are 32-bit so the index costs 4 bytes a line.

#include <QByteArrayView>

#include <cstdint>
#include <vector>

namespace brisko {

using LineStarts = std::vector<uint32_t>;

// The starts of at most maxLines lines at the end of data[0, size), found backwards.
LineStarts indexTail(const char* data, qint64 size, qint64 maxLines);

// The starts of the lines before limit, which is itself a line start (or the size).
LineStarts indexHead(const char* data, qint64 limit);

// Adds the lines that data[oldSize, newSize) brings to starts, which indexes data[0, oldSize).
// Returns whether the last line already indexed grew (it had no final '\n').
bool appendLines(LineStarts& starts, const char* data, qint64 oldSize, qint64 newSize);

// Bytes of line i, without its line break.
QByteArrayView lineBytes(const LineStarts& starts, const char* data, qint64 size, qint64 line);

// The line that holds byte offset, or -1 before the first line.
qint64 lineAtOffset(const LineStarts& starts, qint64 offset);

} // namespace brisko
