#pragma once
// A virtual direct-touch screen with a keyboard, made through /dev/uinput, for script input
// where there is no X server. Main thread only: swipes move through the dispatch scheduler.

#include "daemon/script_api/uinput/touch_frame.h"

#include <QPointF>
#include <QString>

#include <functional>
#include <memory>

namespace brisko::scriptapi {

using InputDone = std::function<void(const QString& error)>; // empty error: done

class UinputDevice {
  public:
    // Opens path and creates the device sized to frame; null, with the reason in *error, when
    // the kernel refuses any step.
    static std::unique_ptr<UinputDevice> create(const QByteArray& path, const TouchFrame& frame,
                                                QString* error);
    // Events go to fd as they would to the kernel; nothing is created or destroyed.
    UinputDevice(int fd, TouchFrame frame);
    ~UinputDevice();
    UinputDevice(const UinputDevice&) = delete;
    UinputDevice& operator=(const UinputDevice&) = delete;

    // Points are logical screen points. Each returns an empty text when done, else the reason.
    QString tap(QPointF at);
    // done is called once the finger is up: after the last move, at the first failed write, or
    // at the next step once abandoned() says the caller is gone.
    void swipe(QPointF from, QPointF to, int milliseconds, std::function<bool()> abandoned, InputDone done);
    QString key(const QString& name);

    const TouchFrame& frame() const { return frame_; }

  private:
    struct Swipe;

    QString touchDown(QPoint at);
    QString touchMove(QPoint at);
    QString touchUp();
    void swipeStep(const std::shared_ptr<Swipe>& swipe);
    std::optional<QPoint> axisValues(QPointF at, QString* error) const;

    int fd_;
    TouchFrame frame_;
    bool created_ = false; // UI_DEV_CREATE succeeded: destroy on the way out
    bool touching_ = false;
    int nextTrackingId_ = 0;
};

// The daemon's one device, made on first use and kept until exit; null, with the reason, while
// it cannot be made (each call tries again: a udev rule may have been added since).
UinputDevice* sharedUinputDevice(QString* error);

} // namespace brisko::scriptapi
