#pragma once
// Raw deflate (no zlib header or trailer, windowBits -15) in the two shapes the extractor uses:
// one piece into a buffer of the declared size, or streamed through a fixed working buffer.

#include <cstddef>
#include <cstdint>
#include <optional>

#include <zlib.h>

namespace brisko::zip {

// Largest declared size inflated in one piece; also the size of the streaming buffer.
inline constexpr uint32_t kOnePieceLimit = 524288;
inline constexpr size_t kStreamBufferSize = 524288;

// Receives each piece of streamed output; returns false to stop the stream.
class InflateSink {
  public:
    virtual bool consume(const uint8_t* bytes, size_t length) = 0;
    // Told after each pass how far the input has been read.
    virtual void inputReadUpTo(const uint8_t*) {}

  protected:
    ~InflateSink() = default;
};

enum class StreamOutcome {
    Complete,  // the deflate stream ended
    Truncated, // the input ran out first: what was produced stands
    Failed,    // inflate reported an error
    Stopped,   // the sink refused more output
    NotStarted // the decoder could not be set up
};

class Inflater {
  public:
    Inflater();
    ~Inflater();
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    // Inflates at most `declared` bytes into `out` (which has room for declared + 1) with one
    // call. The number of bytes produced when the deflate stream ended within that room;
    // nothing when it did not (more output than declared, damaged or truncated input).
    std::optional<size_t> inflateOnePiece(const uint8_t* in, uint32_t inLength, uint8_t* out,
                                          uint32_t declared);

    // Inflates through `buffer` (bufferSize bytes), handing each pass's output to `sink`.
    StreamOutcome inflateStream(const uint8_t* in, uint32_t inLength, uint8_t* buffer, size_t bufferSize,
                                InflateSink& sink);

  private:
    bool begin(const uint8_t* in, uint32_t inLength);

    z_stream stream_{};
    bool initialised_ = false;
};

} // namespace brisko::zip
