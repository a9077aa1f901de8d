#pragma once
// Plain byte search over a mapped log, run on a worker so a large log never blocks the screen.

#include <QByteArrayView>

namespace brisko {

// The offset of needle's first occurrence starting at or after from, or of its last one
// starting before from when searching backwards; -1 when there is none. Wraps around the end.
qint64 findInLog(const char* data, qint64 size, QByteArrayView needle, qint64 from, bool forward);

} // namespace brisko
