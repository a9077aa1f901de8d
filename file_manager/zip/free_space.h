#pragma once
// Keeps the destination's file system from filling up: writes are granted only while the free
// space after them stays at or above the floor.

#include <cstdint>
#include <functional>

namespace brisko::zip {

// Bytes free to an unprivileged writer on the file system holding fd; false when unknown.
using FreeSpaceSource = std::function<bool(int fd, uint64_t& available)>;

bool measureFreeSpace(int fd, uint64_t& available);

struct FreeSpaceFloor {
    uint64_t minFreeBytes = uint64_t{128} << 20;
    FreeSpaceSource source = measureFreeSpace;
};

class FreeSpaceGuard {
  public:
    explicit FreeSpaceGuard(FreeSpaceFloor floor) : floor_(floor) {}

    // Measures the file system that holds `fd` (a new output file).
    void attach(int fd);
    // True when `length` more bytes may be written to the attached file.
    bool reserve(uint64_t length);

  private:
    bool measure();

    FreeSpaceFloor floor_;
    int fd_ = -1;
    uint64_t budget_ = 0;
    uint64_t grantedSinceMeasure_ = 0;
};

} // namespace brisko::zip
