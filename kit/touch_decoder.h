#pragma once
// Turns a touchscreen's evdev stream (multi-touch slots) into the kit's touch phases:
// one report per frame, carrying the primary contact's position in 0..1 of the panel in its
// portrait form, whatever shape the digitizer reports.

#include <linux/input.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace brisko {

struct TouchAxis {
    int32_t minimum = 0;
    int32_t maximum = 0;
    int32_t resolution = 0; // units per millimetre; 0 when the device does not say
};

struct TouchSlot {
    int32_t trackingId = -1; // -1: no contact
    int32_t x = 0;
    int32_t y = 0;
};

// The device's contact state, as read back from the kernel after it dropped events.
struct TouchSnapshot {
    int32_t currentSlot = 0;
    std::vector<TouchSlot> contacts; // one per slot
};

struct TouchReport {
    int phase; // 0 began, 1 moved, 2 ended
    double x;
    double y;
};

class TouchDecoder {
  public:
    static constexpr size_t kFallbackSlots = 16; // when the initial state names no slots

    TouchDecoder(TouchAxis x, TouchAxis y, const TouchSnapshot& initial);

    // Feeds one event; a frame that changed the contact or the primary position yields a report.
    std::optional<TouchReport> feed(const input_event& event);
    // True once a dropped-events gap has ended: the owner should call resync.
    bool needsResync() const { return needsResync_; }
    std::optional<TouchReport> resync(const TouchSnapshot& snapshot);

    static double normalise(int32_t value, TouchAxis axis);
    // Wider than tall, by physical size where the device gives its resolution.
    static bool isLandscapePanel(TouchAxis x, TouchAxis y);

  private:
    struct Contact : TouchSlot {
        uint64_t downOrder = 0; // earlier contacts are primary
    };

    void feedAbs(uint16_t code, int32_t value);
    void setTrackingId(Contact& contact, int32_t id);
    Contact* current();
    int primarySlot() const;
    std::optional<TouchReport> endFrame();
    TouchReport reportFor(int phase, int slot) const;
    void adopt(const TouchSnapshot& snapshot);

    TouchAxis axisX_;
    TouchAxis axisY_;
    bool landscapePanel_;
    std::vector<Contact> contacts_;
    int32_t currentSlot_ = 0;
    uint64_t nextOrder_ = 1;
    bool dropping_ = false;
    bool needsResync_ = false;
    // What the callback was last told.
    bool touching_ = false;
    int reportedSlot_ = -1;
    int32_t reportedX_ = 0;
    int32_t reportedY_ = 0;
};

} // namespace brisko
