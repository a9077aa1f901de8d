// Frames from the X server: the root window copied into one MIT-SHM segment.
#include "kit/capture.h"
#include "kit/geometry.h"

#include <QLoggingCategory>
#include <QScreen>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace brisko {

Q_LOGGING_CATEGORY(lcCapture, "brisko.capture", QtInfoMsg)

namespace {

// The kit's own connection, so capture may run on any thread without touching Qt's.
Display* s_display = nullptr;
std::atomic<bool> s_displayLost{false};
std::atomic<int> s_displayErrors{0};
XErrorHandler s_previousErrorHandler = nullptr;
XIOErrorHandler s_previousIOErrorHandler = nullptr;
int s_originX = 0, s_originY = 0;
// The root window's size as the server last announced it; RandR changes it under us.
int s_rootWidth = 0, s_rootHeight = 0;

struct ShmFrame {
    XImage* image = nullptr;
    XShmSegmentInfo segment{};
    BKScreenshotSurface surface{};
};
ShmFrame* s_screenshotSurface = nullptr;

// Errors on our connection are expected (a frame outside the screen); others keep their handler.
int onXError(Display* display, XErrorEvent* event) {
    if (display == s_display) {
        s_displayErrors.fetch_add(1);
        return 0;
    }
    return s_previousErrorHandler ? s_previousErrorHandler(display, event) : 0;
}

// Xlib's defaults end the process when a server goes away; losing ours only ends capture.
int onIOError(Display* display) {
    if (display == s_display) return 0;
    return s_previousIOErrorHandler ? s_previousIOErrorHandler(display) : 0;
}

void onConnectionLost(Display*, void*) {
    s_displayLost.store(true);
}

bool usable() {
    return s_display && !s_displayLost.load();
}

// Anything but 32-bit B,G,R,X little-endian would need converting; we refuse it instead.
bool isBgrx(const XImage* image) {
    return image->bits_per_pixel == 32 && image->byte_order == LSBFirst && image->red_mask == 0xFF0000 &&
           image->green_mask == 0xFF00 && image->blue_mask == 0xFF;
}

void destroyFrame(ShmFrame* frame) {
    if (frame->segment.shmaddr && frame->segment.shmaddr != reinterpret_cast<char*>(-1) && usable())
        XShmDetach(s_display, &frame->segment);
    if (frame->segment.shmaddr && frame->segment.shmaddr != reinterpret_cast<char*>(-1))
        shmdt(frame->segment.shmaddr);
    if (frame->image) {
        frame->image->data = nullptr;
        XDestroyImage(frame->image);
    }
    delete frame;
}

bool attachSegment(ShmFrame* frame) {
    XShmSegmentInfo& segment = frame->segment;
    const size_t bytes = size_t(frame->image->bytes_per_line) * size_t(frame->image->height);
    segment.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (segment.shmid < 0) {
        qCDebug(lcCapture) << "shmget of" << bytes << "bytes failed:" << std::strerror(errno);
        return false;
    }
    segment.shmaddr = static_cast<char*>(shmat(segment.shmid, nullptr, 0));
    segment.readOnly = False;
    const int errorsBefore = s_displayErrors.load();
    const bool attached = segment.shmaddr != reinterpret_cast<char*>(-1) && XShmAttach(s_display, &segment) &&
                          XSync(s_display, False) && s_displayErrors.load() == errorsBefore && usable();
    // Marked for removal now: the segment goes away with the last process that holds it.
    shmctl(segment.shmid, IPC_RMID, nullptr);
    if (!attached) qCDebug(lcCapture) << "the X server did not attach the shared segment";
    return attached;
}

ShmFrame* createFrame(int32_t width, int32_t height) {
    auto* frame = new ShmFrame;
    const int screen = DefaultScreen(s_display);
    frame->image = XShmCreateImage(s_display, DefaultVisual(s_display, screen),
                                   unsigned(DefaultDepth(s_display, screen)), ZPixmap, nullptr,
                                   &frame->segment, unsigned(width), unsigned(height));
    if (!frame->image || !isBgrx(frame->image) || !attachSegment(frame)) {
        if (frame->image && !isBgrx(frame->image))
            qCDebug(lcCapture) << "the root's pixel format is not 32-bit BGRX:"
                               << frame->image->bits_per_pixel << "bits";
        destroyFrame(frame);
        return nullptr;
    }
    frame->image->data = frame->segment.shmaddr;
    frame->surface = {reinterpret_cast<uint8_t*>(frame->segment.shmaddr), width, height,
                      int32_t(frame->image->bytes_per_line)};
    return frame;
}

// X11 requests carry 16-bit sizes.
bool isFrameSize(double width, double height) {
    return width >= 1 && height >= 1 && width <= 32767 && height <= 32767;
}

// Drains the connection's queue; true when the root window changed size since the last call.
bool rootResized() {
    bool resized = false;
    while (usable() && XPending(s_display) > 0) {
        XEvent event;
        XNextEvent(s_display, &event);
        if (event.type != ConfigureNotify || event.xconfigure.window != DefaultRootWindow(s_display))
            continue;
        resized = resized || event.xconfigure.width != s_rootWidth || event.xconfigure.height != s_rootHeight;
        s_rootWidth = event.xconfigure.width;
        s_rootHeight = event.xconfigure.height;
    }
    return resized;
}

// The server hands out the root upright in its current rotation: the frame takes the root's
// shape, no larger than the screen it started as.
QSizeF frameSize() {
    QSizeF native = s_captureNativeSize;
    if ((native.width() > native.height()) != (s_rootWidth > s_rootHeight)) native.transpose();
    return QSizeF(std::min(native.width(), double(s_rootWidth - s_originX)),
                  std::min(native.height(), double(s_rootHeight - s_originY)));
}

} // namespace

void _bkCaptureInitialize(const QScreen* screen) {
    if (screen) {
        const double ratio = screen->devicePixelRatio();
        s_originX = int(std::lround(screen->geometry().x() * ratio));
        s_originY = int(std::lround(screen->geometry().y() * ratio));
    }
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        qCDebug(lcCapture) << "no X display to capture:" << qgetenv("DISPLAY");
        return;
    }
    if (!XShmQueryExtension(display)) {
        qCDebug(lcCapture) << "the X server has no MIT-SHM";
        XCloseDisplay(display);
        return;
    }
    XSetIOErrorExitHandler(display, onConnectionLost, nullptr);
    XSelectInput(display, DefaultRootWindow(display), StructureNotifyMask);
    s_rootWidth = DisplayWidth(display, DefaultScreen(display));
    s_rootHeight = DisplayHeight(display, DefaultScreen(display));
    s_display = display;
    s_previousErrorHandler = XSetErrorHandler(onXError);
    s_previousIOErrorHandler = XSetIOErrorHandler(onIOError);
}

BKScreenMetrics _bkMetricsForX11Root() {
    BKScreenMetrics metrics;
    Display* display = XOpenDisplay(nullptr);
    if (!display) return metrics;
    const int screen = DefaultScreen(display);
    metrics.nativeBounds = QSizeF(DisplayWidth(display, screen), DisplayHeight(display, screen));
    metrics.bounds = metrics.nativeBounds;
    metrics.nativeScale = metrics.scale = 1;
    XCloseDisplay(display);
    return metrics;
}

BKScreenshotSurface* _ensureScreenshotSurface() {
    if (rootResized() && s_screenshotSurface) {
        destroyFrame(s_screenshotSurface);
        s_screenshotSurface = nullptr;
    }
    if (s_screenshotSurface) return &s_screenshotSurface->surface;
    if (!usable()) return nullptr;
    // Fractional scales can round the size a pixel past the screen, which X would refuse.
    const QSizeF size = frameSize();
    if (!isFrameSize(size.width(), size.height())) {
        qCDebug(lcCapture) << "no frame fits the screen:" << size;
        return nullptr;
    }
    s_screenshotSurface = createFrame(int32_t(size.width()), int32_t(size.height()));
    return s_screenshotSurface ? &s_screenshotSurface->surface : nullptr;
}

bool _bkRenderDisplay(BKScreenshotSurface* surface) {
    if (!surface || !s_screenshotSurface || surface != &s_screenshotSurface->surface || !usable())
        return false;
    return XShmGetImage(s_display, DefaultRootWindow(s_display), s_screenshotSurface->image, s_originX,
                        s_originY, AllPlanes) &&
           usable();
}

} // namespace brisko
