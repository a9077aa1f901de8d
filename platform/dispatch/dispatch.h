#pragma once
// Main-queue and global-queue dispatch on top of the Qt event loop and thread pool.

#include <functional>

namespace brisko {

using DispatchBlock = std::function<void()>;

// Where dispatchMainAfter's delayed blocks wait. The default is a precise Qt timer; tests
// install a manual one and advance time themselves.
class DispatchScheduler {
  public:
    virtual ~DispatchScheduler() = default;
    // Called on the main thread.
    virtual void scheduleAfter(double seconds, DispatchBlock fn) = 0;
};

// nullptr puts the Qt timer back.
void setDispatchScheduler(DispatchScheduler* scheduler);

// Runs fn on the main thread's event loop, after the events already queued.
void dispatchMainAsync(DispatchBlock fn);
// Runs fn on the main thread after the given delay in seconds.
void dispatchMainAfter(double seconds, DispatchBlock fn);
// Runs fn on the shared worker pool.
void dispatchGlobalAsync(DispatchBlock fn);
bool isMainThread();

} // namespace brisko
