#include "LoopDevice.h"

#include <cstring>
#include <limits>

namespace brisko::audio {

LoopDevice::LoopDevice(QByteArray samples, int loops, QObject* parent)
    : QIODevice(parent), samples_(std::move(samples)), loops_(loops) {}

bool LoopDevice::exhausted() const {
    return samples_.isEmpty() || (loops_ >= 0 && passesDone_ > loops_);
}

qint64 LoopDevice::bytesAvailable() const {
    if (exhausted()) return QIODevice::bytesAvailable();
    if (loops_ < 0) return std::numeric_limits<qint32>::max();
    const qint64 remainingPasses = loops_ - passesDone_;
    return remainingPasses * samples_.size() + (samples_.size() - position_) + QIODevice::bytesAvailable();
}

qint64 LoopDevice::readData(char* data, qint64 maxSize) {
    qint64 copied = 0;
    while (copied < maxSize && !exhausted()) {
        const qint64 chunk = std::min<qint64>(maxSize - copied, samples_.size() - position_);
        std::memcpy(data + copied, samples_.constData() + position_, size_t(chunk));
        copied += chunk;
        position_ += chunk;
        if (position_ == samples_.size()) {
            position_ = 0;
            ++passesDone_;
        }
    }
    return copied == 0 && exhausted() ? -1 : copied;
}

} // namespace brisko::audio
