#include "kit/touch_decoder.h"

#include <algorithm>
#include <cmath>

namespace brisko {

TouchDecoder::TouchDecoder(TouchAxis x, TouchAxis y, const TouchSnapshot& initial)
    : axisX_(x), axisY_(y), landscapePanel_(isLandscapePanel(x, y)),
      contacts_(initial.contacts.empty() ? kFallbackSlots : initial.contacts.size()) {
    adopt(initial);
    // A finger already down when watching starts is not a new touch.
    reportedSlot_ = primarySlot();
    touching_ = reportedSlot_ >= 0;
    if (touching_) {
        reportedX_ = contacts_[size_t(reportedSlot_)].x;
        reportedY_ = contacts_[size_t(reportedSlot_)].y;
    }
}

std::optional<TouchReport> TouchDecoder::feed(const input_event& event) {
    if (event.type == EV_SYN) {
        if (event.code == SYN_DROPPED) {
            dropping_ = true;
        } else if (event.code == SYN_REPORT) {
            // The kernel's gap lasts up to and including the next report.
            if (!dropping_) return endFrame();
            dropping_ = false;
            needsResync_ = true;
        }
        return std::nullopt;
    }
    if (event.type == EV_ABS && !dropping_) feedAbs(event.code, event.value);
    return std::nullopt;
}

std::optional<TouchReport> TouchDecoder::resync(const TouchSnapshot& snapshot) {
    adopt(snapshot);
    needsResync_ = false;
    return endFrame();
}

double TouchDecoder::normalise(int32_t value, TouchAxis axis) {
    const double span = double(axis.maximum) - double(axis.minimum);
    if (span == 0) return 0;
    return std::clamp((double(value) - double(axis.minimum)) / span, 0.0, 1.0);
}

void TouchDecoder::feedAbs(uint16_t code, int32_t value) {
    if (code == ABS_MT_SLOT) {
        currentSlot_ = value;
        return;
    }
    Contact* contact = current();
    if (!contact) return;
    if (code == ABS_MT_TRACKING_ID)
        setTrackingId(*contact, value);
    else if (code == ABS_MT_POSITION_X)
        contact->x = value;
    else if (code == ABS_MT_POSITION_Y)
        contact->y = value;
}

void TouchDecoder::setTrackingId(Contact& contact, int32_t id) {
    if (id < 0) {
        contact.trackingId = -1;
    } else if (id != contact.trackingId) {
        contact.trackingId = id;
        contact.downOrder = nextOrder_++;
    }
}

TouchDecoder::Contact* TouchDecoder::current() {
    if (currentSlot_ < 0 || size_t(currentSlot_) >= contacts_.size()) return nullptr;
    return &contacts_[size_t(currentSlot_)];
}

int TouchDecoder::primarySlot() const {
    int primary = -1;
    for (size_t i = 0; i < contacts_.size(); ++i) {
        if (contacts_[i].trackingId < 0) continue;
        if (primary < 0 || contacts_[i].downOrder < contacts_[size_t(primary)].downOrder) primary = int(i);
    }
    return primary;
}

std::optional<TouchReport> TouchDecoder::endFrame() {
    const int primary = primarySlot();
    const bool touching = primary >= 0;
    std::optional<TouchReport> report;
    if (touching != touching_) {
        // The lift is reported where the last primary contact left the glass.
        report = reportFor(touching ? 0 : 2, touching ? primary : reportedSlot_);
    } else if (touching) {
        const Contact& c = contacts_[size_t(primary)];
        if (c.x != reportedX_ || c.y != reportedY_) report = reportFor(1, primary);
    }
    touching_ = touching;
    if (touching) {
        reportedSlot_ = primary;
        reportedX_ = contacts_[size_t(primary)].x;
        reportedY_ = contacts_[size_t(primary)].y;
    }
    return report;
}

TouchReport TouchDecoder::reportFor(int phase, int slot) const {
    int32_t x = reportedX_, y = reportedY_;
    if (slot >= 0 && size_t(slot) < contacts_.size()) {
        x = contacts_[size_t(slot)].x;
        y = contacts_[size_t(slot)].y;
    }
    const double u = normalise(x, axisX_), v = normalise(y, axisY_);
    // A wide panel at rest is the portrait panel on its side (rotation 3): turn its axes back.
    if (landscapePanel_) return {phase, 1 - v, u};
    return {phase, u, v};
}

bool TouchDecoder::isLandscapePanel(TouchAxis x, TouchAxis y) {
    const auto extent = [](TouchAxis axis) {
        const double span = std::abs(double(axis.maximum) - double(axis.minimum));
        return axis.resolution > 0 ? span / axis.resolution : span;
    };
    return extent(x) > extent(y);
}

void TouchDecoder::adopt(const TouchSnapshot& snapshot) {
    if (snapshot.contacts.empty()) return; // nothing read back: keep what we believed
    currentSlot_ = snapshot.currentSlot;
    const size_t n = std::min(contacts_.size(), snapshot.contacts.size());
    for (size_t i = 0; i < n; ++i) {
        setTrackingId(contacts_[i], snapshot.contacts[i].trackingId);
        contacts_[i].x = snapshot.contacts[i].x;
        contacts_[i].y = snapshot.contacts[i].y;
    }
}

} // namespace brisko
