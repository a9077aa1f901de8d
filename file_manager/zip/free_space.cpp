#include "free_space.h"

#include <sys/statvfs.h>

namespace brisko::zip {
namespace {
// Others write to the same file system meanwhile: measure again after this much.
constexpr uint64_t kRemeasureAfter = uint64_t{64} << 20;
} // namespace

void FreeSpaceGuard::attach(int fd) {
    fd_ = fd;
    measure();
}

bool measureFreeSpace(int fd, uint64_t& available) {
    struct statvfs st {};
    if (::fstatvfs(fd, &st) != 0) return false;
    available = uint64_t{st.f_bavail} * (st.f_frsize ? st.f_frsize : st.f_bsize);
    return true;
}

bool FreeSpaceGuard::measure() {
    grantedSinceMeasure_ = 0;
    budget_ = 0;
    uint64_t available = 0;
    if (fd_ < 0 || !floor_.source || !floor_.source(fd_, available)) return false;
    budget_ = available > floor_.minFreeBytes ? available - floor_.minFreeBytes : 0;
    return true;
}

bool FreeSpaceGuard::reserve(uint64_t length) {
    if (length == 0) return true;
    if (length > budget_ || grantedSinceMeasure_ >= kRemeasureAfter) measure();
    if (length > budget_) return false;
    budget_ -= length;
    grantedSinceMeasure_ += length;
    return true;
}

} // namespace brisko::zip
