#pragma once
// The archive as one read-only byte range, memory-mapped rather than copied.

#include <cstddef>
#include <cstdint>
#include <string>

namespace brisko::zip {

class MappedArchive {
  public:
    MappedArchive() = default;
    ~MappedArchive();
    MappedArchive(const MappedArchive&) = delete;
    MappedArchive& operator=(const MappedArchive&) = delete;

    // Maps the whole file. False when it cannot be opened, is not a regular file, or cannot be
    // mapped. An empty file opens with size 0.
    bool open(const std::string& path);

    const uint8_t* data() const { return data_; }

    // Drops the mapped pages wholly inside [begin, end) from this process's resident set (they
    // stay in the page cache and come back on the next read), so that memory stays flat while
    // large entries stream through.
    void release(const uint8_t* begin, const uint8_t* end) const;
    uint64_t size() const { return size_; }

  private:
    const uint8_t* data_ = nullptr;
    uint64_t size_ = 0;
    void* mapping_ = nullptr;
};

} // namespace brisko::zip
