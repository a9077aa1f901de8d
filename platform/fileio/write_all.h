#pragma once
// A write that finishes: short and interrupted writes carry on rather than end the data early.

#include <cerrno>
#include <cstddef>
#include <unistd.h>

namespace brisko::fileio {

inline bool writeAll(int fd, const void* data, size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(fd, next, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        next += n;
        size -= size_t(n);
    }
    return true;
}

} // namespace brisko::fileio
