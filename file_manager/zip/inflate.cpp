#include "inflate.h"

namespace brisko::zip {

Inflater::Inflater() = default;

Inflater::~Inflater() {
    if (initialised_) inflateEnd(&stream_);
}

bool Inflater::begin(const uint8_t* in, uint32_t inLength) {
    // One zlib state serves every entry: a reset is the same fresh raw stream as a new
    // inflateInit2 without its allocations.
    if (initialised_) {
        if (inflateReset(&stream_) != Z_OK) {
            inflateEnd(&stream_);
            initialised_ = false;
        }
    }
    if (!initialised_) {
        stream_ = z_stream{};
        if (inflateInit2(&stream_, -15) != Z_OK) return false;
        initialised_ = true;
    }
    stream_.next_in = const_cast<Bytef*>(in);
    stream_.avail_in = inLength;
    return true;
}

std::optional<size_t> Inflater::inflateOnePiece(const uint8_t* in, uint32_t inLength, uint8_t* out,
                                                uint32_t declared) {
    if (!begin(in, inLength)) return std::nullopt;
    stream_.next_out = out;
    stream_.avail_out = declared;
    const int result = inflate(&stream_, Z_FINISH);
    if (result != Z_STREAM_END && result != Z_OK) return std::nullopt;
    return declared - stream_.avail_out;
}

StreamOutcome Inflater::inflateStream(const uint8_t* in, uint32_t inLength, uint8_t* buffer,
                                      size_t bufferSize, InflateSink& sink) {
    if (!begin(in, inLength)) return StreamOutcome::NotStarted;
    bool filledBuffer = false;
    while (stream_.avail_in > 0 || filledBuffer) {
        const uInt inputBefore = stream_.avail_in;
        stream_.next_out = buffer;
        stream_.avail_out = static_cast<uInt>(bufferSize);
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return StreamOutcome::Failed;
        const size_t produced = bufferSize - stream_.avail_out;
        if (produced > 0 && !sink.consume(buffer, produced)) return StreamOutcome::Stopped;
        sink.inputReadUpTo(stream_.next_in);
        if (result == Z_STREAM_END) return StreamOutcome::Complete;
        filledBuffer = stream_.avail_out == 0;
        // zlib always moves forward with input and room; should it ever not, stop rather than spin.
        if (produced == 0 && stream_.avail_in == inputBefore) break;
    }
    return StreamOutcome::Truncated;
}

} // namespace brisko::zip
