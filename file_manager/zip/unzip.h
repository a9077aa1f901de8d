#pragma once
// BKUnzipFile: the file manager's own ZIP extractor.

#include <cstdint>
#include <string>

namespace brisko {

// Unpacks the archive into the destination folder (created when missing). False only when the
// archive cannot be read, is shorter than 22 bytes or has no end of central directory record;
// true otherwise, however many entries were extracted or skipped. Entries are never written
// outside the destination, links inside it are never written through, and the destination's
// file system keeps at least 5 % and at least 1 GiB free. Blocking; any thread.
bool BKUnzipFile(const std::string& archivePath, const std::string& destinationFolder);

// The limits BKUnzipFile applies; tests raise the floor to stand in for a nearly full disk.
struct UnzipLimits {
    uint64_t minFreeBytes = uint64_t{1} << 30;
    unsigned minFreePercent = 5;
};

bool BKUnzipFile(const std::string& archivePath, const std::string& destinationFolder,
                 const UnzipLimits& limits);

} // namespace brisko
