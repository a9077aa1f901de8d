#include "free_space.h"

#include <algorithm>
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

bool FreeSpaceGuard::measure() {
    grantedSinceMeasure_ = 0;
    budget_ = 0;
    struct statvfs st {};
    if (fd_ < 0 || ::fstatvfs(fd_, &st) != 0) return false;
    const uint64_t unit = st.f_frsize ? st.f_frsize : st.f_bsize;
    const uint64_t total = uint64_t{st.f_blocks} * unit;
    const uint64_t available = uint64_t{st.f_bavail} * unit;
    const uint64_t floor = std::max(floor_.minFreeBytes, total / 100 * floor_.minFreePercent);
    budget_ = available > floor ? available - floor : 0;
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
