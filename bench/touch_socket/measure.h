#pragma once
// Shared pieces of the touch-socket benchmark: timing, a datagram sender, result figures.

#include <chrono>
#include <string>
#include <vector>

#include <sys/un.h>

namespace brisko::bench {

using Clock = std::chrono::steady_clock;

double millisecondsBetween(Clock::time_point from, Clock::time_point to);
// p in 0..1 over a copy of the samples.
double percentile(std::vector<double> samples, double p);

// Sends 9-byte finger-down messages to one local datagram path.
class TouchSender {
  public:
    explicit TouchSender(const std::string& path);
    ~TouchSender();
    bool sendDown(float x, float y);

  private:
    int fd_;
    sockaddr_un address_{};
};

struct Throughput {
    long sent = 0;
    long delivered = 0;
    double seconds = 0;
    double perSecond() const { return seconds > 0 ? double(delivered) / seconds : 0; }
};

// Latencies in milliseconds, one per message, sent one at a time; lost messages are left out.
std::vector<double> oursLatency(const std::string& path, int count);
Throughput oursThroughput(const std::string& path, int count);
std::vector<double> peerLatency(const std::string& path, int count);
Throughput peerThroughput(const std::string& path, int count);

} // namespace brisko::bench
