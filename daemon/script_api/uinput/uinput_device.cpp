#include "uinput_device.h"

#include "daemon/script_api/api_protocol.h"
#include "daemon/script_api/swipe_plan.h"
#include "daemon/script_api/uinput/key_names.h"
#include "platform/dispatch/dispatch.h"
#include "platform/fileio/write_all.h"

#include <linux/uinput.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace brisko::scriptapi {
namespace {

constexpr char kDeviceName[] = "Brisko script input";
constexpr int kMaxTrackingId = 0xffff;
constexpr char kDevicePath[] = "/dev/uinput";

QString systemError(const QString& what) {
    return QStringLiteral("%1: %2").arg(what, QString::fromLocal8Bit(strerror(errno)));
}

input_event inputEvent(uint16_t type, uint16_t code, int32_t value) {
    input_event event{};
    event.type = type;
    event.code = code;
    event.value = value;
    return event;
}

// One write per frame, its report included: the kernel never sees half a frame.
QString writeFrame(int fd, std::vector<input_event> events) {
    events.push_back(inputEvent(EV_SYN, SYN_REPORT, 0));
    if (fileio::writeAll(fd, events.data(), events.size() * sizeof(input_event))) return {};
    return systemError(QStringLiteral("uinput write"));
}

QString control(int fd, unsigned long request, int value, const char* what) {
    if (::ioctl(fd, request, value) == 0) return {};
    return systemError(QStringLiteral("%1 %2").arg(QLatin1String(what)).arg(value));
}

QString declareEvents(int fd) {
    struct Bit {
        unsigned long request;
        int value;
        const char* what;
    };
    const Bit bits[] = {
        {UI_SET_EVBIT, EV_SYN, "UI_SET_EVBIT"},
        {UI_SET_EVBIT, EV_KEY, "UI_SET_EVBIT"},
        {UI_SET_EVBIT, EV_ABS, "UI_SET_EVBIT"},
        {UI_SET_KEYBIT, BTN_TOUCH, "UI_SET_KEYBIT"},
        {UI_SET_PROPBIT, INPUT_PROP_DIRECT, "UI_SET_PROPBIT"},
    };
    for (const Bit& bit : bits)
        if (QString error = control(fd, bit.request, bit.value, bit.what); !error.isEmpty()) return error;
    for (const uint16_t code : allLinuxKeyCodes())
        if (QString error = control(fd, UI_SET_KEYBIT, code, "UI_SET_KEYBIT"); !error.isEmpty()) return error;
    return {};
}

QString declareAxes(int fd, QSize extent) {
    const std::pair<uint16_t, int> axes[] = {
        {ABS_X, extent.width() - 1},
        {ABS_Y, extent.height() - 1},
        {ABS_MT_POSITION_X, extent.width() - 1},
        {ABS_MT_POSITION_Y, extent.height() - 1},
        {ABS_MT_SLOT, 0},
        {ABS_MT_TRACKING_ID, kMaxTrackingId},
    };
    for (const auto& [code, maximum] : axes) {
        if (QString error = control(fd, UI_SET_ABSBIT, code, "UI_SET_ABSBIT"); !error.isEmpty()) return error;
        uinput_abs_setup setup{};
        setup.code = code;
        setup.absinfo.maximum = maximum;
        if (::ioctl(fd, UI_ABS_SETUP, &setup) != 0)
            return systemError(QStringLiteral("UI_ABS_SETUP %1").arg(code));
    }
    return {};
}

QString createDevice(int fd) {
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::strncpy(setup.name, kDeviceName, UINPUT_MAX_NAME_SIZE - 1);
    if (::ioctl(fd, UI_DEV_SETUP, &setup) != 0) return systemError(QStringLiteral("UI_DEV_SETUP"));
    if (::ioctl(fd, UI_DEV_CREATE) != 0) return systemError(QStringLiteral("UI_DEV_CREATE"));
    return {};
}

} // namespace

struct UinputDevice::Swipe {
    QPoint from, to;
    SwipePlan plan;
    int step = 0;
    std::function<bool()> abandoned;
    InputDone done;
};

std::unique_ptr<UinputDevice> UinputDevice::create(const QByteArray& path, const TouchFrame& frame,
                                                   QString* error) {
    // Access first: it is what the user can fix.
    const int fd = ::open(path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    QString failure;
    if (fd < 0)
        failure = systemError(QStringLiteral("open %1").arg(QString::fromLocal8Bit(path)));
    else if (frame.axes.isEmpty())
        failure = QStringLiteral("the screen's size is unknown");
    else
        failure = declareEvents(fd);
    if (failure.isEmpty()) failure = declareAxes(fd, frame.axes);
    if (failure.isEmpty()) failure = createDevice(fd);
    if (!failure.isEmpty()) {
        qCDebug(lcScriptApi, "no uinput device: %s", qPrintable(failure));
        if (fd >= 0) ::close(fd);
        *error = failure;
        return nullptr;
    }
    auto device = std::make_unique<UinputDevice>(fd, frame);
    device->created_ = true;
    return device;
}

UinputDevice::UinputDevice(int fd, TouchFrame frame) : fd_(fd), frame_(frame) {}

UinputDevice::~UinputDevice() {
    if (!created_) return;
    if (::ioctl(fd_, UI_DEV_DESTROY) != 0) qCDebug(lcScriptApi, "UI_DEV_DESTROY: %s", strerror(errno));
    ::close(fd_);
}

std::optional<QPoint> UinputDevice::axisValues(QPointF at, QString* error) const {
    const std::optional<QPoint> values = axisValuesFor(frame_, at);
    if (!values)
        *error = QStringLiteral("outside the screen");
    else if (touching_)
        *error = QStringLiteral("a touch is already in progress");
    return touching_ ? std::nullopt : values;
}

QString UinputDevice::touchDown(QPoint at) {
    const int id = nextTrackingId_;
    nextTrackingId_ = (nextTrackingId_ + 1) % (kMaxTrackingId + 1);
    const QString error =
        writeFrame(fd_, {inputEvent(EV_ABS, ABS_MT_SLOT, 0), inputEvent(EV_ABS, ABS_MT_TRACKING_ID, id),
                         inputEvent(EV_ABS, ABS_MT_POSITION_X, at.x()),
                         inputEvent(EV_ABS, ABS_MT_POSITION_Y, at.y()), inputEvent(EV_KEY, BTN_TOUCH, 1),
                         inputEvent(EV_ABS, ABS_X, at.x()), inputEvent(EV_ABS, ABS_Y, at.y())});
    touching_ = error.isEmpty();
    return error;
}

QString UinputDevice::touchMove(QPoint at) {
    return writeFrame(fd_, {inputEvent(EV_ABS, ABS_MT_POSITION_X, at.x()),
                            inputEvent(EV_ABS, ABS_MT_POSITION_Y, at.y()), inputEvent(EV_ABS, ABS_X, at.x()),
                            inputEvent(EV_ABS, ABS_Y, at.y())});
}

QString UinputDevice::touchUp() {
    touching_ = false;
    return writeFrame(fd_, {inputEvent(EV_ABS, ABS_MT_TRACKING_ID, -1), inputEvent(EV_KEY, BTN_TOUCH, 0)});
}

QString UinputDevice::tap(QPointF at) {
    QString error;
    const std::optional<QPoint> point = axisValues(at, &error);
    if (!point) return error;
    if (error = touchDown(*point); !error.isEmpty()) return error;
    return touchUp();
}

void UinputDevice::swipe(QPointF from, QPointF to, int milliseconds, std::function<bool()> abandoned,
                         InputDone done) {
    QString error;
    const std::optional<QPoint> start = axisValues(from, &error);
    const std::optional<QPoint> end = start ? axisValues(to, &error) : std::nullopt;
    if (!end) return done(error);
    if (error = touchDown(*start); !error.isEmpty()) return done(error);
    auto run = std::make_shared<Swipe>(
        Swipe{*start, *end, planSwipe(milliseconds), 0, std::move(abandoned), std::move(done)});
    dispatchMainAfter(run->plan.stepMs / 1000.0, [this, run] { swipeStep(run); });
}

// Each step schedules the next, so a swipe whose caller has gone stops at the next step.
void UinputDevice::swipeStep(const std::shared_ptr<Swipe>& run) {
    QString error;
    if (!run->abandoned()) {
        ++run->step;
        error = touchMove(run->from + (run->to - run->from) * (double(run->step) / run->plan.steps));
        if (error.isEmpty() && run->step < run->plan.steps) {
            dispatchMainAfter(run->plan.stepMs / 1000.0, [this, run] { swipeStep(run); });
            return;
        }
    }
    const QString lifted = touchUp();
    run->done(error.isEmpty() ? lifted : error);
}

QString UinputDevice::key(const QString& name) {
    const std::optional<uint16_t> code = linuxKeyCode(name);
    if (!code) return QStringLiteral("unknown key: %1").arg(name);
    if (QString error = writeFrame(fd_, {inputEvent(EV_KEY, *code, 1)}); !error.isEmpty()) return error;
    return writeFrame(fd_, {inputEvent(EV_KEY, *code, 0)});
}

UinputDevice* sharedUinputDevice(QString* error) {
    static std::unique_ptr<UinputDevice> device; // destroyed, and with it the kernel's, at exit
    if (!device) device = UinputDevice::create(kDevicePath, currentTouchFrame(), error);
    return device.get();
}

} // namespace brisko::scriptapi
