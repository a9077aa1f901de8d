#include "dispatch.h"

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <cmath>

namespace brisko {

void dispatchMainAsync(DispatchBlock fn) {
    auto* app = QCoreApplication::instance();
    if (!app) return;
    QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
}

void dispatchMainAfter(double seconds, DispatchBlock fn) {
    auto* app = QCoreApplication::instance();
    if (!app) return;
    const int ms = seconds > 0 ? int(std::lround(seconds * 1000.0)) : 0;
    // The timer must live on the main thread, whichever thread asks.
    QMetaObject::invokeMethod(
        app,
        [ms, fn = std::move(fn)]() mutable { QTimer::singleShot(ms, Qt::PreciseTimer, qApp, std::move(fn)); },
        Qt::QueuedConnection);
}

void dispatchGlobalAsync(DispatchBlock fn) {
    QThreadPool::globalInstance()->start(std::move(fn));
}

bool isMainThread() {
    auto* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

} // namespace brisko
