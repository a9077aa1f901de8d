#pragma once
// Reads one touchscreen's evdev events on the main thread and decodes them as they arrive.
// Works on any descriptor that yields struct input_event records (a device node or a pipe).

#include "kit/touch_decoder.h"

#include <QObject>

#include <functional>
#include <optional>

class QSocketNotifier;

namespace brisko {

class TouchEventStream : public QObject {
  public:
    using Sink = std::function<void(const TouchReport&)>;
    // Reads the device's contact state back after a gap; null or nullopt keeps the decoder's own.
    using Resync = std::function<std::optional<TouchSnapshot>(int fd)>;

    // Takes ownership of fd, which must be non-blocking. onClosed runs once, at end of stream.
    TouchEventStream(int fd, TouchDecoder decoder, Sink sink, Resync resync, std::function<void()> onClosed,
                     QObject* parent = nullptr);
    ~TouchEventStream() override;

    bool isOpen() const { return fd_ >= 0; }
    // Stops reading at once, without calling onClosed; safe from inside a delivery.
    void close();

  private:
    void readAvailable();
    bool decodeBuffered(); // false when delivering destroyed this stream
    bool deliver(const std::optional<TouchReport>& report);
    void closeStream();

    int fd_;
    TouchDecoder decoder_;
    Sink sink_;
    Resync resync_;
    std::function<void()> onClosed_;
    QSocketNotifier* notifier_;
    alignas(input_event) unsigned char buffer_[64 * sizeof(input_event)];
    size_t buffered_ = 0;
};

} // namespace brisko
