// Capture rate at the current display: the kit against plain X11 clients doing the same copy.
#include "bench/capture/timing.h"

#include "kit/BKKit.h"
#include "kit/geometry.h"
#include "kit/geometry_testing.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstdio>

namespace brisko::bench {

namespace {

void paintStripes(Display* display) {
    const Window root = DefaultRootWindow(display);
    GC gc = XCreateGC(display, root, 0, nullptr);
    for (int i = 0; i < 64; ++i) {
        XSetForeground(display, gc, 0x10203u * unsigned(i * 3 + 1));
        XFillRectangle(display, root, gc, i * 40, 0, 40, 4096);
    }
    XFreeGC(display, gc);
    XSync(display, False);
}

// What xwd and most screen grabbers do: a fresh image over the socket each frame.
Timing plainGetImage(Display* display, int width, int height, int runs) {
    return timeCalls(runs, [&] {
        XImage* image = XGetImage(display, DefaultRootWindow(display), 0, 0, unsigned(width),
                                  unsigned(height), AllPlanes, ZPixmap);
        if (image) XDestroyImage(image);
    });
}

// The floor for our approach: the same shared-memory copy with nothing around it.
Timing bareShmGetImage(Display* display, int width, int height, int runs) {
    XShmSegmentInfo segment{};
    const int screen = DefaultScreen(display);
    XImage* image =
        XShmCreateImage(display, DefaultVisual(display, screen), unsigned(DefaultDepth(display, screen)),
                        ZPixmap, nullptr, &segment, unsigned(width), unsigned(height));
    segment.shmid = shmget(IPC_PRIVATE, size_t(image->bytes_per_line) * size_t(height), IPC_CREAT | 0600);
    segment.shmaddr = image->data = static_cast<char*>(shmat(segment.shmid, nullptr, 0));
    XShmAttach(display, &segment);
    XSync(display, False);
    shmctl(segment.shmid, IPC_RMID, nullptr);
    const Timing timing =
        timeCalls(runs, [&] { XShmGetImage(display, DefaultRootWindow(display), image, 0, 0, AllPlanes); });
    XShmDetach(display, &segment);
    shmdt(segment.shmaddr);
    image->data = nullptr;
    XDestroyImage(image);
    return timing;
}

// The quad is that of the frame itself: frames are taken as portrait-based.
Timing oursAtQuad(int quad, int runs) {
    _bkSetScreenForTesting(s_screenPointSize, s_screenScale, quad);
    _bkSetCaptureBaseForTesting(s_captureNativeSize, false);
    return timeCalls(runs, [] { BKKit::captureScreenRaw(nullptr, nullptr, nullptr); });
}

void printRate(const char* name, const Timing& t) {
    std::printf("  %-26s median %7.3f ms %6.0f frames/s   best %7.3f ms %6.0f frames/s\n", name, t.median,
                1000.0 / t.median, t.best, 1000.0 / t.best);
}

void printRatio(const char* name, const Timing& ours, const Timing& peer) {
    std::printf("  ratio ours/peer frames/s, %-34s median %6.2f  best %6.2f\n", name,
                peer.median / ours.median, peer.best / ours.best);
}

} // namespace

int measureFrames(int runs) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) return 1;
    paintStripes(display);
    BKKit::initialize();
    if (!BKKit::captureScreenRaw(nullptr, nullptr, nullptr)) return 1;
    const int width = int(s_captureNativeSize.width()), height = int(s_captureNativeSize.height());
    const Timing quad0 = oursAtQuad(0, runs), quad1 = oursAtQuad(1, runs);
    const Timing plain = plainGetImage(display, width, height, runs);
    const Timing bare = bareShmGetImage(display, width, height, runs);
    std::printf("capture %dx%d, %d frames each:\n", width, height, runs);
    printRate("ours, quad 0 (in place)", quad0);
    printRate("ours, quad 1 (turned)", quad1);
    printRate("peer, XGetImage", plain);
    printRate("peer, bare XShmGetImage", bare);
    printRatio("quad 0 against XGetImage:", quad0, plain);
    printRatio("quad 0 against bare XShmGetImage:", quad0, bare);
    printRatio("quad 1 against XGetImage:", quad1, plain);
    printRatio("quad 1 against bare XShmGetImage:", quad1, bare);
    XCloseDisplay(display);
    return 0;
}

} // namespace brisko::bench
