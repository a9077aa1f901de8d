#pragma once
// Main-queue and global-queue dispatch on top of the Qt event loop and thread pool.

#include <functional>

namespace brisko {

using DispatchBlock = std::function<void()>;

// Runs fn on the main thread's event loop, after the events already queued.
void dispatchMainAsync(DispatchBlock fn);
// Runs fn on the main thread after the given delay in seconds.
void dispatchMainAfter(double seconds, DispatchBlock fn);
// Runs fn on the shared worker pool.
void dispatchGlobalAsync(DispatchBlock fn);
bool isMainThread();

} // namespace brisko
