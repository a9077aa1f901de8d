#include "scenes.h"

namespace brisko::ui {
namespace {
QList<Scene>& registry() {
    static QList<Scene> list;
    return list;
}
} // namespace

void registerScene(const QString& name, SceneSetUp setUp, int settleMs) {
    registry().append(Scene{name, std::move(setUp), settleMs});
}

const QList<Scene>& scenes() {
    return registry();
}

} // namespace brisko::ui
