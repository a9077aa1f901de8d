#include "x_input.h"

#include "api_protocol.h"
#include "swipe_plan.h"

#include <QFile>

#include <X11/Xauth.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>

namespace brisko::scriptapi {
namespace {

// The daemon has no XAUTHORITY of its own: hand Xlib the session's cookie for this display.
// Xlib keeps it for the connections opened after it, so the handover is serialised.
void useCookieFrom(const QByteArray& file, const QByteArray& display) {
    if (file.isEmpty()) return;
    FILE* in = std::fopen(file.constData(), "rb");
    if (!in) return;
    const QByteArray number = display.mid(display.lastIndexOf(':') + 1).split('.').first();
    while (Xauth* entry = XauReadAuth(in)) {
        const QByteArray entryNumber(entry->number, entry->number_length);
        const QByteArray name(entry->name, entry->name_length);
        if (entryNumber == number && name == "MIT-MAGIC-COOKIE-1")
            XSetAuthorization(entry->name, entry->name_length, entry->data, entry->data_length);
        XauDisposeAuth(entry);
    }
    std::fclose(in);
}

// Losing the display ends input, not the daemon: the default would exit the process.
void onConnectionLost(Display*, void* lost) {
    *static_cast<bool*>(lost) = true;
}

} // namespace

XInput::XInput(QByteArray display, QByteArray xauthority)
    : display_(std::move(display)), xauthority_(std::move(xauthority)) {}

XInput::~XInput() {
    if (connection_ && !lost_) XCloseDisplay(connection_);
}

QString XInput::ensureOpen() {
    if (connection_ && !lost_) return {};
    connection_ = nullptr; // a lost connection is left behind: closing it would touch the dead socket
    lost_ = false;
    if (display_.isEmpty()) return QStringLiteral("no X display in this session");
    static std::mutex handover;
    std::lock_guard lock(handover);
    useCookieFrom(xauthority_, display_);
    connection_ = XOpenDisplay(display_.constData());
    XSetAuthorization(nullptr, 0, nullptr, 0);
    if (!connection_) return QStringLiteral("cannot open display %1").arg(QString::fromLocal8Bit(display_));
    XSetIOErrorExitHandler(connection_, onConnectionLost, &lost_);
    int event, error, major, minor;
    if (!XTestQueryExtension(connection_, &event, &error, &major, &minor)) {
        XCloseDisplay(connection_);
        connection_ = nullptr;
        return QStringLiteral("the display has no XTest");
    }
    return {};
}

void XInput::moveTo(QPointF at) {
    XTestFakeMotionEvent(connection_, -1, int(std::lround(at.x())), int(std::lround(at.y())), CurrentTime);
}

QString XInput::tap(QPointF at) {
    if (QString error = ensureOpen(); !error.isEmpty()) return error;
    moveTo(at);
    XTestFakeButtonEvent(connection_, Button1, True, CurrentTime);
    XTestFakeButtonEvent(connection_, Button1, False, CurrentTime);
    XSync(connection_, False);
    return {};
}

QString XInput::swipe(QPointF from, QPointF to, int milliseconds, const std::atomic<bool>& cancel) {
    if (QString error = ensureOpen(); !error.isEmpty()) return error;
    const auto [steps, stepMs] = planSwipe(milliseconds);
    moveTo(from);
    XTestFakeButtonEvent(connection_, Button1, True, CurrentTime);
    XFlush(connection_);
    for (int step = 1; step <= steps && !cancel.load(); ++step) {
        std::this_thread::sleep_for(std::chrono::milliseconds(stepMs));
        moveTo(from + (to - from) * (double(step) / steps));
        XFlush(connection_);
    }
    XTestFakeButtonEvent(connection_, Button1, False, CurrentTime);
    XSync(connection_, False);
    return {};
}

QString XInput::key(const QString& name) {
    if (QString error = ensureOpen(); !error.isEmpty()) return error;
    const KeySym symbol = XStringToKeysym(name.toLatin1().constData());
    const KeyCode code = symbol == NoSymbol ? 0 : XKeysymToKeycode(connection_, symbol);
    if (code == 0) return QStringLiteral("unknown key: %1").arg(name);
    XTestFakeKeyEvent(connection_, code, True, CurrentTime);
    XTestFakeKeyEvent(connection_, code, False, CurrentTime);
    XSync(connection_, False);
    return {};
}

} // namespace brisko::scriptapi
