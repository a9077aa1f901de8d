#pragma once
// Reads of /sys, /proc and /etc under a root folder that tests can move to a fake tree.

#include <QByteArray>
#include <QString>

namespace brisko::device {

// Prefix for every system file read; empty means the real root.
void setSystemRootForTesting(const QString& root);
// The absolute system path (e.g. "/proc/meminfo") under the current root.
QString systemPath(const QString& path);
// The whole file, or null when it cannot be read.
QByteArray readSystemFile(const QString& path);

} // namespace brisko::device
