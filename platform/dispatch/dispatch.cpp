#include "dispatch.h"

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <atomic>
#include <cmath>

namespace brisko {
namespace {

class TimerScheduler : public DispatchScheduler {
  public:
    void scheduleAfter(double seconds, DispatchBlock fn) override {
        const int ms = seconds > 0 ? int(std::lround(seconds * 1000.0)) : 0;
        QTimer::singleShot(ms, Qt::PreciseTimer, qApp, std::move(fn));
    }
};

TimerScheduler s_timerScheduler;
std::atomic<DispatchScheduler*> s_scheduler{&s_timerScheduler};

} // namespace

void setDispatchScheduler(DispatchScheduler* scheduler) {
    s_scheduler = scheduler ? scheduler : &s_timerScheduler;
}

void dispatchMainAsync(DispatchBlock fn) {
    auto* app = QCoreApplication::instance();
    if (!app) return;
    QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
}

void dispatchMainAfter(double seconds, DispatchBlock fn) {
    if (!QCoreApplication::instance()) return;
    // The scheduler is main-thread only, whichever thread asks.
    if (isMainThread()) {
        s_scheduler.load()->scheduleAfter(seconds, std::move(fn));
        return;
    }
    dispatchMainAsync([seconds, fn = std::move(fn)]() mutable {
        s_scheduler.load()->scheduleAfter(seconds, std::move(fn));
    });
}

void dispatchGlobalAsync(DispatchBlock fn) {
    QThreadPool::globalInstance()->start(std::move(fn));
}

bool isMainThread() {
    auto* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

} // namespace brisko
