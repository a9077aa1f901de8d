#pragma once
// Script input through the daemon's uinput device, asked for from a run's API thread: each call
// runs on the main thread, where the device lives, and the API thread waits for its end.

#include "daemon/script_api/uinput/uinput_device.h"

#include <QPointF>
#include <QString>

#include <atomic>
#include <memory>
#include <mutex>

namespace brisko::scriptapi {

class UinputInput {
  public:
    struct Outcome {
        QString error;         // empty: done
        bool noDevice = false; // the device could not be made; error says why
    };

    // cancel: set when the run ends.
    explicit UinputInput(const std::atomic<bool>& cancel);

    // Logical screen points.
    Outcome tap(QPointF at);
    Outcome swipe(QPointF from, QPointF to, int milliseconds);
    Outcome key(const QString& name);

    // The run is ending (cancel is already set): the waiting call returns, and a swipe lifts.
    void interrupt();

  private:
    struct Waiter;
    using Operation = std::function<void(UinputDevice&, std::function<bool()> abandoned, InputDone done)>;
    Outcome run(Operation operation);

    const std::atomic<bool>& cancel_;
    std::mutex mutex_;
    std::shared_ptr<Waiter> current_;
};

} // namespace brisko::scriptapi
