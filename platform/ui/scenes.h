#pragma once
// Screenshot scenes: named application states that `brisko --screenshot DIR` renders to DIR/<name>.png.

#include <QList>
#include <QString>

#include <functional>

class QQuickItem;

namespace brisko::ui {

// setUp puts the application into the state worth seeing; host is the top screen's view.
// It may return a clean-up to run after the capture (to leave the next scene unaffected).
using SceneSetUp = std::function<std::function<void()>(QQuickItem* host)>;

struct Scene {
    QString name;
    SceneSetUp setUp;
    int settleMs = 400; // time for animations to come to rest before the capture
};

void registerScene(const QString& name, SceneSetUp setUp, int settleMs = 400);
const QList<Scene>& scenes();

} // namespace brisko::ui
