#include "archive_walk.h"

#include <cstring>

namespace brisko::zip {
namespace {

uint16_t le16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}
uint32_t le32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

bool hasSignature(const uint8_t* p, uint8_t third, uint8_t fourth) {
    return p[0] == 0x50 && p[1] == 0x4B && p[2] == third && p[3] == fourth;
}

} // namespace

std::optional<EndRecord> findEndRecord(const uint8_t* data, uint64_t size) {
    if (size < kEndRecordSize) return std::nullopt;
    // Candidates start at 0 .. size - 22; scan down for 'P' with the vectorised memrchr.
    uint64_t limit = size - kEndRecordSize + 1; // bytes [0, limit) may start a signature
    while (limit > 0) {
        const void* hit = ::memrchr(data, 0x50, limit);
        if (!hit) break;
        const uint64_t pos = static_cast<const uint8_t*>(hit) - data;
        if (hasSignature(data + pos, 0x05, 0x06)) {
            EndRecord end;
            end.position = pos;
            end.entryCount = le16(data + pos + 8);
            end.centralDirectoryOffset = le32(data + pos + 16);
            return end;
        }
        limit = pos;
    }
    return std::nullopt;
}

CentralDirectoryWalk::CentralDirectoryWalk(const uint8_t* data, uint64_t size, const EndRecord& end)
    : data_(data), size_(size), position_(end.centralDirectoryOffset), remaining_(end.entryCount) {}

bool CentralDirectoryWalk::next(CentralEntry& entry) {
    if (ended_ || remaining_ == 0 || position_ > size_ || size_ - position_ < kCentralHeaderSize) {
        ended_ = true;
        return false;
    }
    const uint8_t* h = data_ + position_;
    if (!hasSignature(h, 0x01, 0x02)) {
        ended_ = true;
        return false;
    }
    const uint16_t nameLength = le16(h + 28);
    const uint16_t extraLength = le16(h + 30);
    const uint16_t commentLength = le16(h + 32);
    position_ += kCentralHeaderSize;
    if (size_ - position_ < nameLength) {
        ended_ = true;
        return false;
    }
    entry.versionMadeBy = le16(h + 4);
    entry.method = le16(h + 10);
    entry.compressedSize = le32(h + 20);
    entry.uncompressedSize = le32(h + 24);
    entry.externalAttributes = le32(h + 38);
    entry.localHeaderOffset = le32(h + 42);
    entry.name = std::string_view(reinterpret_cast<const char*>(data_ + position_), nameLength);
    position_ += uint64_t{nameLength} + extraLength + commentLength;
    --remaining_;
    return true;
}

std::optional<uint64_t> locateEntryData(const uint8_t* data, uint64_t size, const CentralEntry& entry) {
    const uint64_t header = entry.localHeaderOffset;
    if (header + kLocalHeaderSize > size || !hasSignature(data + header, 0x03, 0x04)) return std::nullopt;
    const uint64_t start = header + kLocalHeaderSize + le16(data + header + 26) + le16(data + header + 28);
    if (start + entry.compressedSize > size) return std::nullopt;
    return start;
}

} // namespace brisko::zip
