#include "page_timing.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace brisko::bench {
namespace {
const QByteArray kPage = "<!doctype html><meta charset=utf-8><body style='background:#F2F2F7'>"
                         "<h1>Brisko</h1><script>requestAnimationFrame(() => "
                         "fetch('/report?v=painted'));</script></body>";
} // namespace

Served::Served() {
    server.setPage("/index.html", kPage);
    if (!server.listenOnLoopback()) qFatal("port %d is taken", testing::PageServer::kPort);
}

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

} // namespace brisko::bench
