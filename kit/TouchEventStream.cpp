#include "kit/TouchEventStream.h"

#include <QPointer>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace brisko {

namespace {
// Bounds one wake-up, so a flooding device cannot starve the rest of the main loop.
constexpr int kMaxReadsPerWake = 8;
} // namespace

TouchEventStream::TouchEventStream(int fd, TouchDecoder decoder, Sink sink, Resync resync,
                                   std::function<void()> onClosed, QObject* parent)
    : QObject(parent), fd_(fd), decoder_(std::move(decoder)), sink_(std::move(sink)),
      resync_(std::move(resync)), onClosed_(std::move(onClosed)),
      notifier_(new QSocketNotifier(fd, QSocketNotifier::Read, this)) {
    connect(notifier_, &QSocketNotifier::activated, this, [this] { readAvailable(); });
}

TouchEventStream::~TouchEventStream() {
    if (fd_ >= 0) ::close(fd_);
}

void TouchEventStream::readAvailable() {
    for (int i = 0; i < kMaxReadsPerWake && fd_ >= 0; ++i) {
        const ssize_t n = ::read(fd_, buffer_ + buffered_, sizeof buffer_ - buffered_);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno == EAGAIN) return;
        if (n <= 0) {
            // End of file, or ENODEV once the device was unplugged.
            closeStream();
            return;
        }
        buffered_ += size_t(n);
        if (!decodeBuffered()) return;
    }
}

bool TouchEventStream::decodeBuffered() {
    const size_t whole = buffered_ / sizeof(input_event);
    for (size_t i = 0; i < whole; ++i) {
        input_event event;
        std::memcpy(&event, buffer_ + i * sizeof event, sizeof event);
        if (!deliver(decoder_.feed(event))) return false;
        if (!decoder_.needsResync()) continue;
        std::optional<TouchSnapshot> snapshot = resync_ ? resync_(fd_) : std::nullopt;
        if (!deliver(decoder_.resync(snapshot ? *snapshot : TouchSnapshot{}))) return false;
    }
    const size_t used = whole * sizeof(input_event);
    std::memmove(buffer_, buffer_ + used, buffered_ - used);
    buffered_ -= used;
    return true;
}

bool TouchEventStream::deliver(const std::optional<TouchReport>& report) {
    if (!report) return true;
    QPointer<TouchEventStream> self(this);
    sink_(*report);
    return self && fd_ >= 0;
}

void TouchEventStream::close() {
    onClosed_ = nullptr;
    if (fd_ >= 0) closeStream();
}

void TouchEventStream::closeStream() {
    notifier_->setEnabled(false);
    ::close(fd_);
    fd_ = -1;
    if (auto onClosed = std::move(onClosed_)) onClosed();
}

} // namespace brisko
