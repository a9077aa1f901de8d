#pragma once
// Plain byte search over a mapped log, run on a worker so a large log never blocks the screen.
// Without caseSensitive, ASCII letters match in either case; other bytes (CJK, accented
// letters) match exactly, which keeps the search a single pass over the bytes.

#include <QByteArrayView>
#include <QList>

namespace brisko {

// The offset of needle's first occurrence starting at or after from, or of its last one
// starting before from when searching backwards; -1 when there is none. Wraps around the end.
qint64 findInLog(const char* data, qint64 size, QByteArrayView needle, qint64 from, bool forward,
                 bool caseSensitive = true);

// The offsets of every match in one line's bytes, matches not overlapping.
QList<qint64> matchesInLine(QByteArrayView line, QByteArrayView needle, bool caseSensitive);

} // namespace brisko
