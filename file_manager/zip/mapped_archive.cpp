#include "mapped_archive.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko::zip {

MappedArchive::~MappedArchive() {
    if (mapping_) ::munmap(mapping_, size_);
}

void MappedArchive::release(const uint8_t* begin, const uint8_t* end) const {
    static const uintptr_t page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    const uintptr_t first = (reinterpret_cast<uintptr_t>(begin) + page - 1) & ~(page - 1);
    const uintptr_t last = reinterpret_cast<uintptr_t>(end) & ~(page - 1);
    if (mapping_ && last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

bool MappedArchive::open(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return false;
    }
    size_ = static_cast<uint64_t>(st.st_size);
    if (size_ == 0) {
        ::close(fd);
        return true;
    }
    void* p = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (p == MAP_FAILED) {
        size_ = 0;
        return false;
    }
    // The walk reads the end first, then the entries in order: let the kernel read ahead.
    ::madvise(p, size_, MADV_WILLNEED);
    mapping_ = p;
    data_ = static_cast<const uint8_t*>(p);
    return true;
}

} // namespace brisko::zip
