#include "NavigationController.h"

#include "platform/dispatch/dispatch.h"

#include <QQuickItem>

namespace brisko::ui {
namespace {
// Long enough for the pop transition to finish with the view still alive.
constexpr double kPopReleaseDelay = 0.6;
} // namespace

NavigationController::NavigationController(ViewController* root, QObject* parent) : ViewController(parent) {
    if (root) {
        root->setParent(this);
        root->m_navigationController = this;
        m_stack.append(root);
    }
}

QUrl NavigationController::viewUrl() const {
    return moduleViewUrl("UI", "NavigationView.qml");
}

void NavigationController::viewDidLoad() {
    if (ViewController* root = topViewController()) {
        QQuickItem* item = root->view();
        root->viewWillAppear(false);
        emit pushed(item, false);
    }
}

void NavigationController::pushViewController(ViewController* controller, bool animated) {
    if (!controller || m_stack.contains(controller)) return;
    controller->setParent(this);
    controller->m_navigationController = this;
    m_stack.append(controller);
    if (isViewLoaded()) {
        QQuickItem* item = controller->view();
        controller->viewWillAppear(animated);
        emit pushed(item, animated);
    }
    emit topChanged();
}

void NavigationController::backButtonTapped() {
    ViewController* top = topViewController();
    if (top && !top->shouldPopOnBack()) return;
    popViewControllerAnimated(true);
}

void NavigationController::popViewControllerAnimated(bool animated) {
    if (m_stack.size() < 2) return;
    QPointer<ViewController> leaving = m_stack.takeLast();
    if (isViewLoaded()) emit popped(animated);
    if (ViewController* top = topViewController()) top->viewWillAppear(animated);
    emit topChanged();
    dispatchMainAfter(animated ? kPopReleaseDelay : 0.0, [leaving] { delete leaving.data(); });
}

ViewController* NavigationController::topViewController() const {
    return m_stack.isEmpty() ? nullptr : m_stack.last().data();
}

QList<ViewController*> NavigationController::viewControllers() const {
    QList<ViewController*> list;
    for (const auto& controller : m_stack)
        if (controller) list.append(controller);
    return list;
}

QString NavigationController::backTitle() const {
    if (m_stack.size() < 2) return {};
    const QString title = m_stack[m_stack.size() - 2] ? m_stack[m_stack.size() - 2]->title() : QString();
    return title.isEmpty() ? QStringLiteral("返回") : title;
}

} // namespace brisko::ui
