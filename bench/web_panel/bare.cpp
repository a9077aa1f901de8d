// bench_web_panel_bare: the peer, a plain Qt WebEngine program. It sets the engine up the usual
// way (linked, initialised before the application) and loads the page into a fresh
// WebEngineView each time; prints the cold time, then the warm ones, one per line.

#include "bench/web_panel/page_timing.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtWebEngineQuick/qtwebenginequickglobal.h>

#include <cstdio>
#include <memory>

#include <unistd.h>

using namespace brisko::bench;

int main(int argc, char** argv) {
    if (geteuid() == 0 && qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox"); // Chromium's sandbox refuses root
    QtWebEngineQuick::initialize();
    QGuiApplication app(argc, argv);
    const int warm = argc > 1 ? atoi(argv[1]) : 8;
    Served served;
    QQuickWindow window;
    window.resize(390, 844);
    window.show();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport QtWebEngine\nWebEngineView { anchors.fill: parent }", QUrl());
    for (int i = 0; i <= warm; ++i) {
        std::unique_ptr<QObject> view;
        const double ms = timeUntilPainted(served.server, [&] {
            view.reset(component.create());
            auto* item = qobject_cast<QQuickItem*>(view.get());
            if (!item) qFatal("%s", qPrintable(component.errorString()));
            item->setParentItem(window.contentItem());
            item->setProperty("url", QUrl("http://localhost:65005/index.html"));
        });
        std::printf("%.3f\n", ms);
    }
    return 0;
}
