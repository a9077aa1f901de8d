#include "log_viewer_scenes.h"

#include "app/status/app_references.h"
#include "log_viewer/BKLogViewController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/scenes.h"

#include <QFile>
#include <QPointer>
#include <QTemporaryDir>

#include <functional>

namespace brisko {
namespace {

QString sceneFolder() {
    static QTemporaryDir folder;
    return folder.path();
}

// What the daemon writes: timestamped lines of a script's output, begin and end lines.
QString writeLongLog() {
    const QString path = sceneFolder() + QStringLiteral("/long.log");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return path;
    file.write("2026-11-23 09:58:00 ▶ 脚本开始运行: main.lua\n");
    for (int i = 0; i < 4000; ++i) {
        file.write(QStringLiteral("2026-11-23 10:%1:%2 [main.lua] tap (%3, %4) ok, round %5\n")
                       .arg(i / 60 % 60, 2, 10, QLatin1Char('0'))
                       .arg(i % 60, 2, 10, QLatin1Char('0'))
                       .arg(100 + i % 300)
                       .arg(200 + i * 7 % 600)
                       .arg(i)
                       .toUtf8());
        if (i % 500 == 499) file.write("2026-11-23 10:00:00 [main.lua] 找色失败, 重试\n");
    }
    file.write("2026-11-23 11:06:40 ■ 脚本结束 (退出码 0)\n");
    return path;
}

QString writeEmptyLog() {
    const QString path = sceneFolder() + QStringLiteral("/empty.log");
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.close();
    return path;
}

// Pushes a log viewer on the file, runs then on it, and pops it afterwards.
ui::SceneSetUp logScene(std::function<QString()> makeLog,
                        std::function<void(BKLogViewController*)> then = {}) {
    return [makeLog, then](QQuickItem*) -> std::function<void()> {
        if (!_rootNav) return {};
        auto* controller = new BKLogViewController(makeLog());
        _rootNav->pushViewController(controller, false);
        if (then) then(controller);
        return [] {
            if (_rootNav) _rootNav->popViewControllerAnimated(false);
        };
    };
}

} // namespace

void registerLogViewerScenes() {
    ui::registerScene(QStringLiteral("log-viewer-end"), logScene(writeLongLog));
    ui::registerScene(QStringLiteral("log-viewer-empty"), logScene(writeEmptyLog));
    ui::registerScene(QStringLiteral("log-viewer-find"), logScene(writeLongLog, [](BKLogViewController* c) {
                          c->find(QStringLiteral("找色失败"), false, c->lines()->rowCount() - 1);
                      }));
    ui::registerScene(QStringLiteral("log-viewer-copied"),
                      logScene(writeLongLog, [](BKLogViewController* c) { c->copyLog(); }), 500);
}

} // namespace brisko
