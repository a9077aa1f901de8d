#include "screen_push.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>

namespace brisko::bench {

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

ScreenPush::ScreenPush() : m_nav(new ui::NavigationController(new ui::ViewController)) {
    m_window.setRootViewController(m_nav);
    m_window.makeKeyAndVisible();
}

double ScreenPush::timeScreen(const std::function<ui::ViewController*()>& make,
                              const std::function<bool()>& shown) {
    QQuickWindow* window = m_window.quickWindow();
    QEventLoop loop;
    bool done = false;
    auto check = [&] {
        if (shown()) {
            done = true;
            loop.quit();
        } else {
            window->requestUpdate();
        }
    };
    QElapsedTimer timer;
    timer.start();
    m_nav->pushViewController(make(), false);
    auto connection = QObject::connect(window, &QQuickWindow::frameSwapped, &loop, check);
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    window->requestUpdate();
    loop.exec();
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    QObject::disconnect(connection);
    if (!done) qFatal("the screen never showed");
    return ms;
}

void ScreenPush::pop() {
    m_nav->popViewControllerAnimated(false);
    QCoreApplication::processEvents();
}

} // namespace brisko::bench
