#pragma once
// Remote touch: another local process sends finger positions as datagrams, and they reach the
// kit's touch receiver exactly as a finger on the glass would. Started and stopped on the main
// thread by whoever shows the floating ball.

#include <atomic>
#include <cstdint>

namespace brisko {

inline constexpr char kTouchSocketPath[] = "/tmp/brisko_floatball_touch.sock";

// One datagram, host byte order: a pixel position in the current upright frame and the finger.
struct [[gnu::packed]] InjectedTouchMessage {
    float x;
    float y;
    uint8_t down; // 0 up, anything else down
};
static_assert(sizeof(InjectedTouchMessage) == 9);

// Read when the ball is shown: start the socket with it.
extern std::atomic<bool> _fbRemoteTouchEnabled;
extern std::atomic<bool> s_touchSockRunning; // the receive thread is wanted
extern std::atomic<bool> s_touchSockDown;    // the last accepted message had the finger down

void _startTouchSocket();
void _stopTouchSocket(); // returns once the receive thread has ended

// Receive-thread side, exposed for tests.
void _handleInjectedTouchMessage(const InjectedTouchMessage* message);
void _dispatchInjectedTouchPixel(int phase, double x, double y);

} // namespace brisko
