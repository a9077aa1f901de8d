#include "bench/touch_socket/measure.h"

#include "kit/touch_socket.h"

#include <algorithm>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

namespace brisko::bench {

double millisecondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

double percentile(std::vector<double> samples, double p) {
    if (samples.empty()) return 0;
    const size_t index = std::min(samples.size() - 1, size_t(p * double(samples.size())));
    std::nth_element(samples.begin(), samples.begin() + long(index), samples.end());
    return samples[index];
}

TouchSender::TouchSender(const std::string& path) : fd_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    address_.sun_family = AF_UNIX;
    std::strncpy(address_.sun_path, path.c_str(), sizeof address_.sun_path - 1);
}

TouchSender::~TouchSender() {
    if (fd_ >= 0) ::close(fd_);
}

bool TouchSender::sendDown(float x, float y) {
    const InjectedTouchMessage message{x, y, 1};
    return ::sendto(fd_, &message, sizeof message, 0, reinterpret_cast<const sockaddr*>(&address_),
                    sizeof address_) == ssize_t(sizeof message);
}

} // namespace brisko::bench
