#include "uinput_input.h"

#include "platform/dispatch/dispatch.h"

#include <condition_variable>
#include <optional>

namespace brisko::scriptapi {

// Shared with the main thread, which may finish after the run, and its waiting thread, are gone.
struct UinputInput::Waiter {
    std::mutex mutex;
    std::condition_variable woken;
    std::optional<Outcome> outcome;
    std::atomic<bool> abandoned{false};

    void finish(Outcome result) {
        std::lock_guard lock(mutex);
        outcome = std::move(result);
        woken.notify_all();
    }
    void abandon() {
        std::lock_guard lock(mutex);
        abandoned = true;
        woken.notify_all();
    }
    Outcome wait(const std::atomic<bool>& cancel) {
        std::unique_lock lock(mutex);
        woken.wait(lock, [&] { return outcome || abandoned || cancel.load(); });
        if (outcome) return *outcome;
        abandoned = true;
        return {QStringLiteral("the run has ended")};
    }
};

UinputInput::UinputInput(const std::atomic<bool>& cancel) : cancel_(cancel) {}

UinputInput::Outcome UinputInput::tap(QPointF at) {
    return run([at](UinputDevice& device, auto, InputDone done) { done(device.tap(at)); });
}

UinputInput::Outcome UinputInput::swipe(QPointF from, QPointF to, int milliseconds) {
    return run([=](UinputDevice& device, std::function<bool()> abandoned, InputDone done) {
        device.swipe(from, to, milliseconds, std::move(abandoned), std::move(done));
    });
}

UinputInput::Outcome UinputInput::key(const QString& name) {
    return run([name](UinputDevice& device, auto, InputDone done) { done(device.key(name)); });
}

void UinputInput::interrupt() {
    std::lock_guard lock(mutex_);
    if (current_) current_->abandon();
}

UinputInput::Outcome UinputInput::run(Operation operation) {
    auto waiter = std::make_shared<Waiter>();
    {
        std::lock_guard lock(mutex_);
        current_ = waiter;
    }
    dispatchMainAsync([waiter, operation = std::move(operation)] {
        QString error;
        UinputDevice* device = sharedUinputDevice(&error);
        if (!device) return waiter->finish({error, true});
        operation(
            *device, [waiter] { return waiter->abandoned.load(); },
            [waiter](const QString& failure) { waiter->finish({failure}); });
    });
    const Outcome outcome = waiter->wait(cancel_);
    std::lock_guard lock(mutex_);
    current_.reset();
    return outcome;
}

} // namespace brisko::scriptapi
