// The peer: the same datagrams into a bare recvfrom loop on its own thread, nothing else.

#include "bench/touch_socket/measure.h"

#include <atomic>
#include <cstring>
#include <semaphore>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace brisko::bench {

namespace {

int bindBare(const std::string& path) {
    ::unlink(path.c_str());
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const timeval timeout{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    return fd;
}

// Receives until `count` datagrams arrived or a second passes without one; onDatagram per arrival.
template <typename F> void receiveLoop(int fd, int count, F onDatagram) {
    char buffer[9];
    for (int got = 0; got < count;) {
        if (::recvfrom(fd, buffer, sizeof buffer, 0, nullptr, nullptr) != ssize_t(sizeof buffer)) return;
        ++got;
        onDatagram();
    }
}

} // namespace

std::vector<double> peerLatency(const std::string& path, int count) {
    const int fd = bindBare(path);
    std::binary_semaphore delivered{0};
    Clock::time_point arrived;
    std::thread receiver([&] {
        receiveLoop(fd, count, [&] {
            arrived = Clock::now();
            delivered.release();
        });
    });
    std::vector<double> samples;
    TouchSender sender(path);
    for (int i = 0; i < count; ++i) {
        const Clock::time_point sent = Clock::now();
        if (!sender.sendDown(float(i % 780), 400)) continue;
        if (delivered.try_acquire_for(std::chrono::seconds(1)))
            samples.push_back(millisecondsBetween(sent, arrived));
    }
    receiver.join();
    ::close(fd);
    ::unlink(path.c_str());
    return samples;
}

Throughput peerThroughput(const std::string& path, int count) {
    const int fd = bindBare(path);
    Throughput result;
    Clock::time_point last;
    std::thread receiver([&] {
        receiveLoop(fd, count, [&] {
            ++result.delivered;
            last = Clock::now();
        });
    });
    TouchSender sender(path);
    const Clock::time_point first = Clock::now();
    for (int i = 0; i < count; ++i)
        result.sent += sender.sendDown(float(i % 780), 400);
    receiver.join();
    result.seconds = millisecondsBetween(first, last) / 1000;
    ::close(fd);
    ::unlink(path.c_str());
    return result;
}

} // namespace brisko::bench
