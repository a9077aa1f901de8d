// A second process on the notification bus, for the cross-process tests.
//   notify_probe observe NAME   prints "ready" once observing, then "received NAME" and exits 0
//                               at the first post, or exits 1 when none comes within 5 s
//   notify_probe post NAME      posts once; exits 0 once the post reached the bus

#include "platform/notify/notify.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

using namespace brisko;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 3) return 64;
    const QString name = args[2];
    if (args[1] == "post") {
        if (!notify::waitUntilReady(5000)) return 2;
        notify::post(name);
        return notify::waitUntilReady(5000) ? 0 : 2;
    }
    if (args[1] != "observe") return 64;
    notify::addObserver(name, [name] {
        std::printf("received %s\n", qPrintable(name));
        std::fflush(stdout);
        QMetaObject::invokeMethod(qApp, [] { qApp->exit(0); });
    });
    if (!notify::waitUntilReady(5000)) return 2;
    std::printf("ready\n");
    std::fflush(stdout);
    QTimer::singleShot(5000, qApp, [] { qApp->exit(1); });
    return QCoreApplication::exec();
}
