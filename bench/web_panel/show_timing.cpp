#include "show_timing.h"

#include "app/status/app_references.h"
#include "app/status/channel.h"
#include "app/status/notification_names.h"
#include "app/web/web_panel.h"
#include "platform/notify/notify.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"
#include "tests/support/PageServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <functional>
#include <memory>

namespace brisko::bench {
namespace {

constexpr int kTimeoutMs = 60000;

const QByteArray kPage = "<!doctype html><meta charset=utf-8><body style='background:#F2F2F7'>"
                         "<h1>Brisko</h1><script>requestAnimationFrame(() => "
                         "fetch('/report?v=painted'));</script></body>";

struct Served {
    testing::PageServer server;
    Served() {
        server.setPage("/index.html", kPage);
        if (!server.listen()) qFatal("port %d is taken", testing::PageServer::kPort);
    }
};

// Runs start, then the event loop until the page reports its first frame; milliseconds.
double timeUntilPainted(testing::PageServer& server, const std::function<void()>& start) {
    QEventLoop loop;
    QObject::connect(&server, &testing::PageServer::reported, &loop, &QEventLoop::quit);
    QTimer::singleShot(kTimeoutMs, &loop, &QEventLoop::quit);
    server.clearReports();
    QElapsedTimer clock;
    clock.start();
    start();
    loop.exec();
    if (server.reports().isEmpty()) qFatal("the page never reported its first frame");
    return clock.nsecsElapsed() / 1e6;
}

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

QList<double> timeBareViews(int warm) {
    Served served;
    QQuickWindow window;
    window.resize(390, 844);
    window.show();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport QtWebEngine\nWebEngineView { anchors.fill: parent }", QUrl());

    QList<double> times;
    for (int i = 0; i <= warm; ++i) {
        std::unique_ptr<QObject> view;
        times << timeUntilPainted(served.server, [&] {
            view.reset(component.create());
            auto* item = qobject_cast<QQuickItem*>(view.get());
            if (!item) qFatal("%s", qPrintable(component.errorString()));
            item->setParentItem(window.contentItem());
            item->setProperty("url", QUrl("http://localhost:65005/index.html"));
        });
    }
    return times;
}

} // namespace brisko::bench
