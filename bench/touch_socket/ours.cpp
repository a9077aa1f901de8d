// The kit's path: sendto -> receive thread -> phase and mapping -> main queue -> callback.

#include "bench/touch_socket/measure.h"

#include "kit/BKKit.h"
#include "kit/touch_socket.h"
#include "kit/touch_testing.h"
#include "platform/dispatch/dispatch.h"

#include <QCoreApplication>

#include <semaphore>
#include <thread>

#include <sys/stat.h>

namespace brisko::bench {

namespace {

void waitForSocket(const std::string& path) {
    struct stat st;
    while (::stat(path.c_str(), &st) != 0 || !S_ISSOCK(st.st_mode))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Runs the main loop while sender works on its own thread.
void runMainLoopWith(const std::function<void()>& sender) {
    std::thread thread([&sender] {
        sender();
        dispatchMainAsync([] { QCoreApplication::quit(); });
    });
    QCoreApplication::exec();
    thread.join();
}

void startKitSocket(const std::string& path, BKTouchCallback callback) {
    _touchSocketUsePath(path);
    BKKit::startTouchMonitorWithCallback(std::move(callback));
    _startTouchSocket();
    waitForSocket(path);
}

void stopKitSocket() {
    _stopTouchSocket();
    BKKit::stopTouchMonitor();
}

} // namespace

std::vector<double> oursLatency(const std::string& path, int count) {
    std::binary_semaphore delivered{0};
    Clock::time_point arrived;
    startKitSocket(path, [&](int, double, double) {
        arrived = Clock::now();
        delivered.release();
    });
    std::vector<double> samples;
    runMainLoopWith([&] {
        TouchSender sender(path);
        for (int i = 0; i < count; ++i) {
            const Clock::time_point sent = Clock::now();
            if (!sender.sendDown(float(i % 780), 400)) continue;
            if (delivered.try_acquire_for(std::chrono::seconds(1)))
                samples.push_back(millisecondsBetween(sent, arrived));
        }
    });
    stopKitSocket();
    return samples;
}

Throughput oursThroughput(const std::string& path, int count) {
    Throughput result;
    Clock::time_point first, last;
    startKitSocket(path, [&](int, double, double) {
        ++result.delivered;
        last = Clock::now();
    });
    runMainLoopWith([&] {
        TouchSender sender(path);
        first = Clock::now();
        for (int i = 0; i < count; ++i)
            result.sent += sender.sendDown(float(i % 780), 400);
        // Let the main queue drain; whatever has not arrived by then is lost.
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    });
    result.seconds = millisecondsBetween(first, last) / 1000;
    stopKitSocket();
    return result;
}

} // namespace brisko::bench
