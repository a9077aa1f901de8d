#pragma once
// The archive's structure: the end record, the central directory walk and the local headers.
// Pure functions over a byte range; every read is bounds-checked against it.

#include <cstdint>
#include <optional>
#include <string_view>

namespace brisko::zip {

inline constexpr uint64_t kEndRecordSize = 22;
inline constexpr uint64_t kCentralHeaderSize = 46;
inline constexpr uint64_t kLocalHeaderSize = 30;

struct EndRecord {
    uint64_t position = 0;
    uint16_t entryCount = 0;             // records on this disk: the walk's entry count
    uint32_t centralDirectoryOffset = 0; // where the walk starts
};

// The end record nearest the end of the archive: the first position, scanning down from
// size - 22 to 0, holding 50 4B 05 06. The whole archive is searched, not only its tail.
std::optional<EndRecord> findEndRecord(const uint8_t* data, uint64_t size);

struct CentralEntry {
    uint16_t versionMadeBy = 0; // high byte: the host the entry was made on
    uint16_t method = 0;
    uint32_t compressedSize = 0;
    uint32_t uncompressedSize = 0;
    uint32_t externalAttributes = 0;
    uint32_t localHeaderOffset = 0;
    std::string_view name; // raw bytes, inside the archive
};

// Walks the central directory record by record. next() ends the walk (returns false) after the
// end record's entry count, when fewer than 46 bytes remain, at a wrong signature or when a
// name runs past the end of the archive.
class CentralDirectoryWalk {
  public:
    CentralDirectoryWalk(const uint8_t* data, uint64_t size, const EndRecord& end);
    bool next(CentralEntry& entry);

  private:
    const uint8_t* data_;
    uint64_t size_;
    uint64_t position_;
    uint32_t remaining_;
    bool ended_ = false;
};

// Where the entry's data starts: its local header must lie inside the archive with its
// signature, and the data (compressed size bytes from header + 30 + the local name and extra
// lengths) must end inside the archive. Nothing otherwise.
std::optional<uint64_t> locateEntryData(const uint8_t* data, uint64_t size, const CentralEntry& entry);

} // namespace brisko::zip
