#include "kit/touch_socket.h"

#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/touch_monitor.h"
#include "kit/touch_testing.h"
#include "platform/dispatch/dispatch.h"

#include <cmath>
#include <cstring>
#include <string>
#include <system_error>
#include <thread>

#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace brisko {

std::atomic<bool> _fbRemoteTouchEnabled{false};
std::atomic<bool> s_touchSockRunning{false};
std::atomic<bool> s_touchSockDown{false};
// Whoever exchanges it to -1 first (stop, or the thread on its way out) owns the close.
std::atomic<int32_t> s_touchSockFd{-1};
std::thread s_touchSockThread;

namespace {

std::string s_touchSockPath = kTouchSocketPath;

// No panel is anywhere near this wide; beyond it a position is garbage, not a touch.
constexpr float kMaxInjectedPixel = 65536;

bool plausiblePixel(float v) {
    return std::isfinite(v) && std::fabs(v) <= kMaxInjectedPixel;
}

// Only root and the owner of this process may drive the ball.
bool senderAllowed(const ucred& cred) {
    return cred.uid == 0 || cred.uid == geteuid();
}

bool configureTouchSocket(int fd) {
    const int on = 1;
    const timeval timeout{1, 0};
    return ::setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0 &&
           ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout) == 0;
}

// Binds a fresh datagram socket at path, readable and writable by the owner only; -1 on failure.
int openTouchSocket(const std::string& path) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) return -1;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ::unlink(path.c_str()); // a stale file from an earlier process
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    // Credentials must be on before the first datagram can arrive.
    if (!configureTouchSocket(fd) ||
        ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    if (::chmod(path.c_str(), 0600) != 0) {
        ::close(fd);
        ::unlink(path.c_str());
        return -1;
    }
    return fd;
}

// Senders may attach descriptors; never keep them.
void closePassedDescriptors(msghdr& msg) {
    for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c; c = CMSG_NXTHDR(&msg, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd;
            std::memcpy(&fd, CMSG_DATA(c) + i * sizeof fd, sizeof fd);
            ::close(fd);
        }
    }
}

bool hasAllowedSender(msghdr& msg) {
    for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c; c = CMSG_NXTHDR(&msg, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_CREDENTIALS) continue;
        if (c->cmsg_len != CMSG_LEN(sizeof(ucred))) return false;
        ucred cred;
        std::memcpy(&cred, CMSG_DATA(c), sizeof cred);
        return senderAllowed(cred);
    }
    return false;
}

// One datagram, cut to the message size; false for time-outs, short datagrams and refused senders.
bool receiveTouchMessage(int fd, InjectedTouchMessage* message) {
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred)) + CMSG_SPACE(4 * sizeof(int))];
    iovec iov{message, sizeof *message};
    msghdr msg{};
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    msg.msg_control = control;
    msg.msg_controllen = sizeof control;
    const ssize_t n = ::recvmsg(fd, &msg, MSG_CMSG_CLOEXEC);
    if (n < 0) return false;
    closePassedDescriptors(msg);
    return n == ssize_t(sizeof *message) && hasAllowedSender(msg);
}

void closeTouchSocketOnce() {
    const int fd = s_touchSockFd.exchange(-1);
    if (fd >= 0) ::close(fd);
}

void _touchSocketThread() {
    pthread_setname_np(pthread_self(), "bk_touch_sock");
    const int fd = openTouchSocket(s_touchSockPath);
    if (fd < 0) {
        s_touchSockRunning = false;
        return;
    }
    s_touchSockFd = fd;
    InjectedTouchMessage message;
    while (s_touchSockRunning)
        if (receiveTouchMessage(fd, &message)) _handleInjectedTouchMessage(&message);
    closeTouchSocketOnce();
    ::unlink(s_touchSockPath.c_str());
}

void reapTouchSocketThread() {
    if (s_touchSockThread.joinable()) s_touchSockThread.join();
}

} // namespace

void BKKit::setFloatingBallRemoteTouchEnabled(bool enabled) {
    initialize();
    _fbRemoteTouchEnabled = enabled;
}

void _startTouchSocket() {
    if (s_touchSockRunning) return;
    BKKit::initialize();     // the receive thread reads the screen description
    reapTouchSocketThread(); // one that gave up on its own
    s_touchSockRunning = true;
    s_touchSockDown = false;
    s_touchSockFd = -1;
    try {
        s_touchSockThread = std::thread(_touchSocketThread);
    } catch (const std::system_error&) {
        s_touchSockRunning = false;
    }
}

void _stopTouchSocket() {
    if (!s_touchSockRunning) {
        reapTouchSocketThread();
        return;
    }
    s_touchSockRunning = false;
    s_touchSockDown = false;
    const int fd = s_touchSockFd.exchange(-1);
    if (fd >= 0) ::shutdown(fd, SHUT_RDWR); // wakes a waiting receive at once
    reapTouchSocketThread();
    if (fd >= 0) ::close(fd);
}

void _handleInjectedTouchMessage(const InjectedTouchMessage* message) {
    if (!message) return;
    const float x = message->x, y = message->y;
    if (!plausiblePixel(x) || !plausiblePixel(y)) return;
    const bool down = message->down != 0;
    const bool wasDown = s_touchSockDown;
    if (!down && !wasDown) return;
    const int phase = !down ? 2 : wasDown ? 1 : 0;
    s_touchSockDown = down;
    _dispatchInjectedTouchPixel(phase, x, y);
}

void _dispatchInjectedTouchPixel(int phase, double x, double y) {
    const double scale = s_screenScale > 0 ? s_screenScale : 1.0;
    double nx = 0, ny = 0;
    if (!_logicalToPhysNorm(&nx, &ny, x / scale, y / scale)) return;
    dispatchMainAsync([phase, nx, ny] { _deliverTouch(phase, nx, ny); });
}

void _touchSocketUsePath(const std::string& path) {
    s_touchSockPath = path;
}

} // namespace brisko
