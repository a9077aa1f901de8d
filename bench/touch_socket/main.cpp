// Injected-touch latency and throughput: the kit's socket against a bare recvfrom loop,
// measured in the same run. Usage: bench_touch_socket [latency-messages] [throughput-messages]

#include "bench/touch_socket/measure.h"

#include "kit/geometry_testing.h"

#include <QGuiApplication>
#include <QTemporaryDir>

#include <cstdio>

using namespace brisko;
using namespace brisko::bench;

namespace {

void printLatency(const char* name, const std::vector<double>& ms, int count) {
    std::printf("  %-5s median %.4f ms  p99 %.4f ms  (%zu of %d delivered)\n", name, percentile(ms, 0.5),
                percentile(ms, 0.99), ms.size(), count);
}

void printThroughput(const char* name, const Throughput& t) {
    std::printf("  %-5s %.0f messages/s  (%ld of %ld delivered)\n", name, t.perSecond(), t.delivered, t.sent);
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int latencyCount = argc > 1 ? std::atoi(argv[1]) : 10000;
    const int throughputCount = argc > 2 ? std::atoi(argv[2]) : 200000;
    QTemporaryDir dir;
    const std::string path = dir.filePath("touch.sock").toStdString();
    _bkSetScreenForTesting({390, 844}, 3, 0);

    oursLatency(path, 1000); // warm-up
    peerLatency(path, 1000);
    const auto ours = oursLatency(path, latencyCount);
    const auto peer = peerLatency(path, latencyCount);
    std::printf("latency, sendto to delivery, one message at a time:\n");
    printLatency("ours", ours, latencyCount);
    printLatency("peer", peer, latencyCount);
    std::printf("  ratio ours/peer: median %.2f  p99 %.2f\n", percentile(ours, 0.5) / percentile(peer, 0.5),
                percentile(ours, 0.99) / percentile(peer, 0.99));

    const Throughput oursRate = oursThroughput(path, throughputCount);
    const Throughput peerRate = peerThroughput(path, throughputCount);
    std::printf("throughput, blocking sendto as fast as it goes:\n");
    printThroughput("ours", oursRate);
    printThroughput("peer", peerRate);
    std::printf("  ratio ours/peer: %.2f\n", oursRate.perSecond() / peerRate.perSecond());
    return 0;
}
