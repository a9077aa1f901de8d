#include "feedback_scenes.h"

#include "feedback.h"

#include "platform/ui/scenes.h"

#include <QPointer>
#include <QQuickItem>

namespace brisko {
namespace {

// Toasts remove themselves after about two seconds; the next scene should not wait for that.
void removeToasts(QQuickItem* host) {
    for (QQuickItem* child : host->childItems()) {
        if (child->objectName() == QLatin1String("BKToast")) {
            child->setParentItem(nullptr);
            child->deleteLater();
        }
    }
}

} // namespace

void registerFeedbackScenes() {
    ui::registerScene(
        QStringLiteral("toast"),
        [](QQuickItem* host) -> std::function<void()> {
            BKShowToast(host, QStringLiteral("已发送启动指令"));
            return [host = QPointer<QQuickItem>(host)] {
                if (host) removeToasts(host);
            };
        },
        500);
    ui::registerScene(
        QStringLiteral("loading"),
        [](QQuickItem* host) -> std::function<void()> {
            BKShowLoading(host, QStringLiteral("启动中..."));
            return [host = QPointer<QQuickItem>(host)] {
                if (host) BKDismissLoading(host);
            };
        },
        300);
}

} // namespace brisko
