// A second process on the notification bus, for the cross-process tests.
//   notify_probe observe NAME COUNT TIMEOUT_MS   prints "ready" once observing, then "received NAME"
//                                                 per post; exit 0 after COUNT posts, 1 on time-out
//   notify_probe post NAME                        posts once; exit 0 once the post reached the bus

#include "platform/notify/notify.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <cstdio>

using namespace brisko;

namespace {

int observe(const QString& name, int count, int timeoutMs) {
    static std::atomic<int> remaining;
    remaining = count;
    notify::addObserver(name, [name] {
        std::printf("received %s\n", qPrintable(name));
        std::fflush(stdout);
        if (--remaining == 0) QMetaObject::invokeMethod(qApp, [] { qApp->exit(0); });
    });
    if (!notify::waitUntilReady(5000)) return 2;
    std::printf("ready\n");
    std::fflush(stdout);
    QTimer::singleShot(timeoutMs, qApp, [] { qApp->exit(1); });
    return QCoreApplication::exec();
}

int post(const QString& name) {
    if (!notify::waitUntilReady(5000)) return 2;
    notify::post(name);
    return notify::waitUntilReady(5000) ? 0 : 2;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 5 && args[1] == "observe") return observe(args[2], args[3].toInt(), args[4].toInt());
    if (args.size() == 3 && args[1] == "post") return post(args[2]);
    std::fprintf(stderr, "usage: notify_probe observe NAME COUNT TIMEOUT_MS | post NAME\n");
    return 64;
}
