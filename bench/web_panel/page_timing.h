#pragma once
// The benchmark page on 127.0.0.1:65005 and the clock from a request to its first frame.

#include "tests/support/PageServer.h"

#include <functional>

namespace brisko::bench {

inline constexpr int kTimeoutMs = 60000;

// The page reports its first animation frame back to the server.
struct Served {
    testing::PageServer server;
    Served();
};

// Runs start, then the event loop until the page reports its first frame; milliseconds.
double timeUntilPainted(testing::PageServer& server, const std::function<void()>& start);

} // namespace brisko::bench
