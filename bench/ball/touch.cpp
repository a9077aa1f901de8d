#include "bench/ball/ball_bench.h"

#include "kit/BKKit.h"
#include "kit/ball/ball_testing.h"
#include "kit/touch_socket.h"
#include "kit/touch_testing.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QMetaObject>
#include <QThread>
#include <QWindow>

#include <X11/Xlib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace brisko::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr double kScale = 3; // QT_SCALE_FACTOR set by main

int windowTop(Display* display, Window window) {
    Window root;
    int x = 0, y = 0;
    unsigned width, height, border, depth;
    XGetGeometry(display, window, &root, &x, &y, &width, &height, &border, &depth);
    return y;
}

// Microseconds from `start` until the window's top edge, as the server has it, is `top`;
// a second at most.
double waitForTop(Display* display, Window window, int top, Clock::time_point start) {
    double elapsed = 0;
    while (windowTop(display, window) != top && elapsed < 1e6)
        elapsed = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// The window's top in pixels for a ball centred at y points: whole points, then the scale.
int topFor(double y) {
    return int(std::floor(y - 16) * kScale);
}

struct Stats {
    double median, p95;
};

Stats statsOf(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    return {samples[samples.size() / 2], samples[samples.size() * 95 / 100]};
}

class Sender {
  public:
    explicit Sender(const std::string& path) : fd_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
        address_.sun_family = AF_UNIX;
        std::strncpy(address_.sun_path, path.c_str(), sizeof(address_.sun_path) - 1);
    }
    ~Sender() { close(fd_); }
    void send(double pointX, double pointY, bool down) {
        const InjectedTouchMessage message{float(pointX * kScale), float(pointY * kScale), uint8_t(down)};
        sendto(fd_, &message, sizeof message, 0, reinterpret_cast<const sockaddr*>(&address_),
               sizeof address_);
    }

  private:
    int fd_;
    sockaddr_un address_{};
};

// The ball held by an injected finger and moved up and down the right edge.
std::vector<double> ballMoves(Window ball, const std::string& path, int moves) {
    Display* display = XOpenDisplay(nullptr);
    Sender sender(path);
    const double x = 381, startY = 0.4 * 844;
    sender.send(x, startY, true);
    waitForTop(display, ball, topFor(startY), Clock::now());
    std::vector<double> samples;
    for (int i = 0; i < moves; ++i) {
        const double y = i % 2 ? 300 : 500;
        const Clock::time_point start = Clock::now();
        sender.send(x, y, true);
        samples.push_back(waitForTop(display, ball, topFor(y), start));
    }
    sender.send(x, startY, false);
    XCloseDisplay(display);
    return samples;
}

// The X server's own share: a plain window moved by a bare client.
std::vector<double> bareMoves(int moves) {
    Display* display = XOpenDisplay(nullptr);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    const Window window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 96, 96, 0, CopyFromParent,
                                        InputOutput, CopyFromParent, CWOverrideRedirect, &attributes);
    XMapWindow(display, window);
    std::vector<double> samples;
    for (int i = 0; i < moves; ++i) {
        const int top = i % 2 ? 852 : 1452;
        const Clock::time_point start = Clock::now();
        XMoveWindow(display, window, 1000, top);
        samples.push_back(waitForTop(display, window, top, start));
    }
    XDestroyWindow(display, window);
    XCloseDisplay(display);
    return samples;
}

} // namespace

void measureTouchToMove(int moves) {
    const std::string path = QDir::temp().filePath("bench_ball_touch.sock").toStdString();
    _touchSocketUsePath(path);
    BKKit::setFloatingBallRemoteTouchEnabled(true);
    BKKit::showFloatingBallWithCallback([](const QString&) {});
    const Window ball = Window(_fbWindowForTesting()->winId());
    while (!QFileInfo::exists(QString::fromStdString(path)))
        QThread::msleep(5);
    std::vector<double> ours;
    QEventLoop loop;
    std::thread sender([&] {
        ours = ballMoves(ball, path, moves);
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    sender.join();
    BKKit::hideFloatingBall();
    const Stats ball_ = statsOf(ours), bare = statsOf(bareMoves(moves));
    std::printf("touch to moved window: median %.0f us, p95 %.0f us over %d moves (a tick is 33333 us)\n",
                ball_.median, ball_.p95, moves);
    std::printf("  peer, a bare XMoveWindow seen by the server: median %.0f us; ratio %.1f\n", bare.median,
                ball_.median / bare.median);
}

} // namespace brisko::bench
