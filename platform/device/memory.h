#pragma once
// Physical and used memory from /proc/meminfo.

#include <cstdint>

namespace brisko {

struct BKMemoryUsage {
    uint64_t physical = 0; // MemTotal
    // Memory the kernel will not hand back under pressure without work: the active LRU pages
    // (anonymous and file) plus what is pinned: unevictable and mlocked pages, unreclaimable
    // slab, kernel stacks and page tables. Inactive pages, page cache waiting on the inactive
    // list and free memory are not counted.
    uint64_t used = 0;
};

// Zeros when /proc/meminfo cannot be read; a missing field counts as 0.
BKMemoryUsage BKReadMemoryUsage();

} // namespace brisko
