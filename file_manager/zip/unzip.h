#pragma once
// BKUnzipFile: the file manager's own ZIP extractor.

#include <cstdint>
#include <functional>
#include <string>

namespace brisko {

// Unpacks the archive into the destination folder (created when missing). False only when the
// archive cannot be read, is shorter than 22 bytes or has no end of central directory record;
// true otherwise, however many entries were extracted or skipped. Entries are never written
// outside the destination, links inside it are never written through, and the destination's
// file system keeps 128 MiB free. Blocking; any thread.
bool BKUnzipFile(const std::string& archivePath, const std::string& destinationFolder);

// The limits BKUnzipFile applies; tests raise the floor or fake the free space to stand in for
// a nearly full disk.
// The reserve is a fixed amount rather than a share of the disk: a share of a large disk can
// exceed all the free space of a nearly full one and refuse ordinary archives, while 128 MiB
// still leaves room for logs and the system's own writes once a bomb has filled the rest.
struct UnzipLimits {
    uint64_t minFreeBytes = uint64_t{128} << 20;
    // Bytes free on the file system of an output file (null: statvfs).
    std::function<bool(int fd, uint64_t& available)> freeSpace;
};

bool BKUnzipFile(const std::string& archivePath, const std::string& destinationFolder,
                 const UnzipLimits& limits);

} // namespace brisko
