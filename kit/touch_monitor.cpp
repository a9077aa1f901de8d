#include "kit/touch_monitor.h"

#include "kit/BKKit.h"
#include "kit/TouchEventStream.h"
#include "kit/touch_testing.h"

#include <QDir>
#include <QFileSystemWatcher>
#include <QHash>
#include <QPointer>

#include <libevdev/libevdev.h>

#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace brisko {

BKTouchCallback s_touchCallback;

void _deliverTouch(int phase, double nx, double ny) {
    // A copy: the callback may replace or clear itself (the ball hides on a button press).
    const BKTouchCallback callback = s_touchCallback;
    if (callback) callback(phase, nx, ny);
}

namespace {

constexpr int kMaxSlots = 64;

TouchSlot slotState(libevdev* dev, int slot) {
    return {libevdev_get_slot_value(dev, unsigned(slot), ABS_MT_TRACKING_ID),
            libevdev_get_slot_value(dev, unsigned(slot), ABS_MT_POSITION_X),
            libevdev_get_slot_value(dev, unsigned(slot), ABS_MT_POSITION_Y)};
}

bool isTouchscreen(libevdev* dev) {
    return libevdev_has_property(dev, INPUT_PROP_DIRECT) &&
           libevdev_has_event_code(dev, EV_ABS, ABS_MT_SLOT) &&
           libevdev_has_event_code(dev, EV_ABS, ABS_MT_POSITION_X) &&
           libevdev_has_event_code(dev, EV_ABS, ABS_MT_POSITION_Y);
}

TouchAxis axisOf(libevdev* dev, unsigned code) {
    const input_absinfo* info = libevdev_get_abs_info(dev, code);
    return {info->minimum, info->maximum, info->resolution};
}

} // namespace

std::optional<TouchDeviceInfo> _probeTouchscreen(int fd) {
    libevdev* raw = nullptr;
    if (libevdev_new_from_fd(fd, &raw) < 0) return std::nullopt;
    const std::unique_ptr<libevdev, decltype(&libevdev_free)> dev(raw, libevdev_free);
    if (!isTouchscreen(raw)) return std::nullopt;
    TouchDeviceInfo info{axisOf(raw, ABS_MT_POSITION_X), axisOf(raw, ABS_MT_POSITION_Y), {}};
    info.state.currentSlot = libevdev_get_current_slot(raw);
    const int slotCount = std::min(libevdev_get_num_slots(raw), kMaxSlots);
    for (int i = 0; i < slotCount; ++i)
        info.state.contacts.push_back(slotState(raw, i));
    return info;
}

namespace {

// Follows every touchscreen node in one directory, including ones that come and go.
class TouchMonitor : public QObject {
  public:
    TouchMonitor(const QString& directory, TouchDeviceProbe probe)
        : directory_(directory), probe_(std::move(probe)) {
        if (QDir(directory_).exists()) watcher_.addPath(directory_);
        connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this] { rescan(); });
        rescan();
    }

    void shutdown() {
        for (const auto& stream : std::as_const(streams_))
            if (stream) stream->close();
        streams_.clear();
        watcher_.disconnect(this);
    }

    int deviceCount() const { return int(streams_.size()); }

  private:
    void rescan() {
        const QStringList nodes = QDir(directory_).entryList({"event*"}, QDir::System | QDir::Files);
        for (const QString& path : streams_.keys())
            if (!nodes.contains(QFileInfo(path).fileName())) forget(path);
        for (const QString& node : nodes) {
            const QString path = directory_ + '/' + node;
            if (!streams_.contains(path)) open(path);
        }
    }

    void open(const QString& path) {
        const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) return;
        const std::optional<TouchDeviceInfo> info = probe_(fd);
        if (!info) {
            ::close(fd);
            return;
        }
        auto deliver = [](const TouchReport& r) { _deliverTouch(r.phase, r.x, r.y); };
        streams_.insert(path, new TouchEventStream(
                                  fd, TouchDecoder(info->x, info->y, info->state), deliver, readBack(probe_),
                                  [this, path] { forget(path); }, this));
    }

    // After lost events the probe reads the device's contact state again.
    static TouchEventStream::Resync readBack(TouchDeviceProbe probe) {
        return [probe = std::move(probe)](int fd) -> std::optional<TouchSnapshot> {
            const std::optional<TouchDeviceInfo> info = probe(fd);
            return info ? std::optional(info->state) : std::nullopt;
        };
    }

    void forget(const QString& path) {
        const QPointer<TouchEventStream> stream = streams_.take(path);
        if (!stream) return;
        stream->close();
        stream->deleteLater(); // it may be the one calling us
    }

    QString directory_;
    TouchDeviceProbe probe_;
    QFileSystemWatcher watcher_;
    QHash<QString, QPointer<TouchEventStream>> streams_;
};

QString s_inputDirectory = QStringLiteral("/dev/input");
TouchDeviceProbe s_deviceProbe = _probeTouchscreen;
QPointer<TouchMonitor> s_touchClient;

} // namespace

void BKKit::startTouchMonitorWithCallback(BKTouchCallback callback) {
    initialize();
    if (!callback) return;
    s_touchCallback = std::move(callback);
    if (s_touchClient) return;
    s_touchClient = new TouchMonitor(s_inputDirectory, s_deviceProbe);
}

void BKKit::stopTouchMonitor() {
    initialize();
    if (TouchMonitor* monitor = s_touchClient.data()) {
        s_touchClient.clear();
        monitor->shutdown();
        monitor->deleteLater(); // stop may be called from inside a delivery
    }
    s_touchCallback = nullptr;
}

void _touchMonitorUseDevices(const QString& directory, TouchDeviceProbe probe) {
    s_inputDirectory = directory;
    s_deviceProbe = std::move(probe);
}

int _touchMonitorDeviceCount() {
    return s_touchClient ? s_touchClient->deviceCount() : -1;
}

} // namespace brisko
