#include "screenshot_tour.h"

#include "app/status/app_references.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/scenes.h"
#include "platform/ui/window.h"

#include <QCoreApplication>
#include <QDir>
#include <QQuickItem>
#include <QTimer>

#include <cstdio>

namespace brisko {
namespace {

QQuickItem* topHost() {
    ui::ViewController* top = _rootNav ? _rootNav->topViewController() : nullptr;
    return top ? top->view() : nullptr;
}

void renderScene(ui::Window* window, const QString& folder, int index) {
    const auto& scenes = ui::scenes();
    if (index >= scenes.size()) {
        QCoreApplication::exit(0);
        return;
    }
    const ui::Scene& scene = scenes[index];
    std::function<void()> cleanUp = scene.setUp ? scene.setUp(topHost()) : nullptr;
    QTimer::singleShot(scene.settleMs, qApp, [=] {
        const QString path = QDir(folder).filePath(scene.name + QStringLiteral(".png"));
        if (!window->grab().save(path))
            std::fprintf(stderr, "screenshot: cannot write %s\n", qPrintable(path));
        if (cleanUp) cleanUp();
        QTimer::singleShot(50, qApp, [=] { renderScene(window, folder, index + 1); });
    });
}

} // namespace

void runScreenshotTour(ui::Window* window, const QString& folder) {
    QDir().mkpath(folder);
    QTimer::singleShot(100, qApp, [=] { renderScene(window, folder, 0); });
}

} // namespace brisko
