#pragma once
// Facts about the device shown on the main screen. Each call reads afresh.

#include <QString>
#include <QVariant>

#include <cstdint>

namespace brisko {

// The model identifier: DMI product name on PCs, the device-tree model on boards, else the
// kernel's machine name (uname -m).
QString BKDeviceMachine();

// The answer for key, or a null QVariant. Only "SerialNumber" is known: the DMI product serial
// (readable by root only) or the device-tree serial number.
QVariant BKMobileGestaltValue(const QString& key);

// "%.1f GB" from 2^30 bytes on, else "%.0f MB" (units are powers of two).
QString BKFormatBytes(uint64_t bytes);

// The system's name and version, e.g. "Debian GNU/Linux 12 (bookworm)", from os-release.
QString BKOperatingSystemName();

struct BKFileSystemSpace {
    uint64_t total = 0;
    uint64_t free = 0; // what an unprivileged user may still write
};
// Size of the file system that holds path; zeros when it cannot be read.
BKFileSystemSpace BKFileSystemSpaceForPath(const QString& path);

} // namespace brisko
