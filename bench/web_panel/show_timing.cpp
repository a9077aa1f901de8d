#include "show_timing.h"

#include "app/status/app_references.h"
#include "app/status/channel.h"
#include "app/status/notification_names.h"
#include "app/web/web_panel.h"
#include "bench/web_panel/page_timing.h"
#include "platform/notify/notify.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

#include <functional>

namespace brisko::bench {
namespace {

void spinUntil(const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < kTimeoutMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

} // namespace

QList<double> timeShowsThroughBus(int warm) {
    Served served;
    ui::Window window;
    auto* nav = new ui::NavigationController(new ui::ViewController);
    window.setRootViewController(nav);
    window.makeKeyAndVisible();
    _rootNav = nav;
    notify::addObserver(QString::fromLatin1(names::kWebViewShow), BKOnWebViewShow);
    notify::addObserver(QString::fromLatin1(names::kWebViewClose), BKOnWebViewClose);
    if (!notify::waitUntilReady(5000)) qFatal("no system bus to post on");

    QList<double> times;
    for (int i = 0; i <= warm; ++i) {
        times << timeUntilPainted(served.server,
                                  [] { notify::post(QString::fromLatin1(names::kWebViewShow)); });
        notify::post(QString::fromLatin1(names::kWebViewClose));
        spinUntil([] { return BKCurrentWebView() == nullptr; });
    }
    return times;
}

} // namespace brisko::bench
