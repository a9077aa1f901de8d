#include "unzip.h"

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <new>

#include "archive_walk.h"
#include "diagnostics.h"
#include "entry_mode.h"
#include "entry_name.h"
#include "inflate.h"
#include "mapped_archive.h"
#include "safe_output.h"

namespace brisko {
namespace zip {
namespace {

// Byte ranges [local header, end of data) of the entries taken so far. An entry whose range
// meets one of them is skipped: real archives never share bytes between entries, overlapping
// zip bombs do.
class TakenRanges {
  public:
    bool take(uint64_t begin, uint64_t end) {
        auto next = ranges_.lower_bound(begin);
        if (next != ranges_.end() && next->first < end) return false;
        if (next != ranges_.begin() && std::prev(next)->second > begin) return false;
        ranges_.emplace_hint(next, begin, end);
        return true;
    }

  private:
    std::map<uint64_t, uint64_t> ranges_;
};

// Mapped input is let go of in steps of this size as large entries are read.
constexpr uint64_t kReleaseStep = uint64_t{8} << 20;

// Stops a streamed entry that writes more than it declared or than the disk can spare.
class FileSink final : public InflateSink {
  public:
    FileSink(OutputFile& file, uint64_t declared, const MappedArchive& archive, const uint8_t* input)
        : file_(file), remaining_(declared), archive_(archive), released_(input) {}
    bool consume(const uint8_t* bytes, size_t length) override {
        if (length > remaining_) return false;
        remaining_ -= length;
        return file_.write(bytes, length);
    }
    void inputReadUpTo(const uint8_t* position) override {
        if (static_cast<uint64_t>(position - released_) >= kReleaseStep) {
            archive_.release(released_, position);
            released_ = position;
        }
    }

  private:
    OutputFile& file_;
    uint64_t remaining_;
    const MappedArchive& archive_;
    const uint8_t* released_;
};

class Extractor {
  public:
    Extractor(const MappedArchive& archive, std::string destination, const UnzipLimits& limits)
        : archive_(archive), destinationLength_(destination.size()), tree_(std::move(destination)),
          guard_(
              FreeSpaceFloor{limits.minFreeBytes, limits.freeSpace ? limits.freeSpace : measureFreeSpace}) {}

    void extract(const CentralEntry& entry);

  private:
    // Each returns why the entry was passed over, or null when it was written.
    const char* place(const CentralEntry& entry, const std::string& name);
    const char* writeStored(int folder, std::string_view name, const uint8_t* data,
                            const CentralEntry& entry);
    const char* writeDeflated(int folder, std::string_view name, const uint8_t* data,
                              const CentralEntry& entry);
    uint8_t* buffer();
    void consumed(const uint8_t* begin, const uint8_t* end);

    const MappedArchive& archive_;
    const uint8_t* unreleased_ = nullptr; // input read since the last release
    size_t destinationLength_;
    OutputTree tree_;
    FreeSpaceGuard guard_;
    TakenRanges taken_;
    Inflater inflater_;
    // One buffer serves both the one-piece output (declared size + 1) and the stream.
    std::unique_ptr<uint8_t[]> buffer_;
    bool bufferFailed_ = false;
};

static_assert(kOnePieceLimit <= kStreamBufferSize, "one-piece output must fit the shared buffer");

uint8_t* Extractor::buffer() {
    if (!buffer_ && !bufferFailed_) {
        buffer_.reset(new (std::nothrow) uint8_t[kStreamBufferSize + 1]);
        bufferFailed_ = !buffer_;
    }
    return buffer_.get();
}

// Input is let go of in steps, not entry by entry: a release per small file costs more than
// writing the file.
void Extractor::consumed(const uint8_t* begin, const uint8_t* end) {
    if (!unreleased_ || begin < unreleased_) unreleased_ = begin;
    if (static_cast<uint64_t>(end - unreleased_) < kReleaseStep) return;
    archive_.release(unreleased_, end);
    unreleased_ = end;
}

void Extractor::extract(const CentralEntry& entry) {
    const std::string name = decodeEntryName(entry.name);
    if (const char* reason = place(entry, name)) reportSkip(name, reason);
}

const char* Extractor::place(const CentralEntry& entry, const std::string& name) {
    if (classifyEntryName(name) != NameRule::Extract) return "name refused";
    const std::optional<uint64_t> dataStart = locateEntryData(archive_.data(), archive_.size(), entry);
    if (!dataStart) return "local header unreadable";
    if (!taken_.take(entry.localHeaderOffset, *dataStart + entry.compressedSize))
        return "data overlaps another entry";
    const OutputName output = splitOutputName(name);
    // A name of separators only would write the destination itself.
    if (output.file.empty()) return "no file name";
    size_t pathLength = destinationLength_ + 1 + output.file.size();
    for (const std::string_view folder : output.folders)
        pathLength += folder.size() + 1;
    if (pathLength >= PATH_MAX) return "path too long"; // no path-based tool could reach the file
    const int folder = tree_.openFolder(output.folders);
    if (folder < 0) return "folder not made";
    if (output.file == ".") return nullptr; // a folder entry: made above
    const uint8_t* data = archive_.data() + *dataStart;
    if (entry.method == 0) return writeStored(folder, output.file, data, entry);
    if (entry.method == 8) return writeDeflated(folder, output.file, data, entry);
    return "compression method not supported";
}

const char* Extractor::writeStored(int folder, std::string_view name, const uint8_t* data,
                                   const CentralEntry& entry) {
    const uint32_t length = entry.compressedSize;
    OutputFile file(guard_);
    if (!file.create(folder, name, entryFileMode(entry.versionMadeBy, entry.externalAttributes)))
        return "file not created";
    for (uint64_t done = 0; done < length;) {
        const uint64_t step = std::min<uint64_t>(length - done, kReleaseStep);
        if (!file.write(data + done, step)) return "write refused or failed"; // the file is discarded
        consumed(data + done, data + done + step);
        done += step;
    }
    file.commit();
    return nullptr;
}

const char* Extractor::writeDeflated(int folder, std::string_view name, const uint8_t* data,
                                     const CentralEntry& entry) {
    uint8_t* work = buffer();
    if (!work) return "no inflate buffer";
    const mode_t mode = entryFileMode(entry.versionMadeBy, entry.externalAttributes);
    if (entry.uncompressedSize <= kOnePieceLimit) {
        const std::optional<size_t> produced =
            inflater_.inflateOnePiece(data, entry.compressedSize, work, entry.uncompressedSize);
        if (!produced) return "corrupt deflate data";
        OutputFile file(guard_);
        if (!file.create(folder, name, mode) || !file.write(work, *produced))
            return "write refused or failed";
        file.commit();
        return nullptr;
    }
    OutputFile file(guard_);
    if (!file.create(folder, name, mode)) return "file not created";
    FileSink sink(file, entry.uncompressedSize, archive_, data);
    const StreamOutcome outcome =
        inflater_.inflateStream(data, entry.compressedSize, work, kStreamBufferSize, sink);
    archive_.release(data, data + entry.compressedSize);
    if (outcome != StreamOutcome::Complete && outcome != StreamOutcome::Truncated) return "inflate stopped";
    file.commit();
    return nullptr;
}

} // namespace
} // namespace zip

bool BKUnzipFile(const std::string& archivePath, const std::string& destinationFolder) {
    return BKUnzipFile(archivePath, destinationFolder, UnzipLimits{});
}

bool BKUnzipFile(const std::string& archivePath, const std::string& destinationFolder,
                 const UnzipLimits& limits) {
    using namespace zip;
    MappedArchive archive;
    if (!archive.open(archivePath) || archive.size() < kEndRecordSize) return false;
    const std::optional<EndRecord> end = findEndRecord(archive.data(), archive.size());
    if (!end) return false;
    Extractor extractor(archive, destinationFolder, limits);
    CentralDirectoryWalk walk(archive.data(), archive.size(), *end);
    CentralEntry entry;
    while (walk.next(entry))
        extractor.extract(entry);
    return true;
}

} // namespace brisko
