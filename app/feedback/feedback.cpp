#include "feedback.h"

#include "platform/dispatch/dispatch.h"

#include <QCoreApplication>
#include <QPointer>
#include <QPropertyAnimation>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QUrl>

#include <algorithm>

namespace brisko {
namespace {

constexpr int kFadeMs = 250;
constexpr double kToastHoldSeconds = 1.6;

QQmlEngine* engineFor(QQuickItem* host) {
    if (QQmlEngine* engine = qmlEngine(host)) return engine;
    // Hosts built in C++ have no engine of their own.
    static QPointer<QQmlEngine> fallback;
    if (!fallback) fallback = new QQmlEngine(QCoreApplication::instance());
    return fallback;
}

QQuickItem* createChild(QQuickItem* host, const char* qmlFile, QVariantMap properties) {
    QQmlComponent component(engineFor(host),
                            QUrl(QStringLiteral("qrc:/brisko/feedback/") + QLatin1String(qmlFile)));
    properties.insert(QStringLiteral("parent"), QVariant::fromValue<QObject*>(host));
    QObject* object = component.createWithInitialProperties(properties);
    auto* item = qobject_cast<QQuickItem*>(object);
    if (!item) {
        qWarning("feedback: %s", qPrintable(component.errorString()));
        delete object;
        return nullptr;
    }
    QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
    item->setParent(host); // dies with its host
    return item;
}

void removeItem(QQuickItem* item) {
    item->setParentItem(nullptr);
    item->deleteLater();
}

// How far the host's bottom edge lies inside the safe area's bottom inset of the nearest
// ancestor that declares one.
qreal safeAreaBottomInset(QQuickItem* host) {
    for (QQuickItem* item = host; item; item = item->parentItem()) {
        const QVariant inset = item->property("safeAreaBottom");
        if (!inset.isValid()) continue;
        const qreal hostBottom = item->mapFromItem(host, QPointF(0, host->height())).y();
        return std::max<qreal>(0, inset.toReal() - (item->height() - hostBottom));
    }
    return 0;
}

void fadeTo(QQuickItem* item, qreal opacity, std::function<void()> done) {
    auto* animation = new QPropertyAnimation(item, "opacity", item);
    animation->setDuration(kFadeMs);
    animation->setEndValue(opacity);
    animation->setEasingCurve(QEasingCurve::InOutQuad);
    QObject::connect(animation, &QAbstractAnimation::finished, item, std::move(done));
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

// Off the main thread, reposts the call there; the host may be gone by then.
template <typename Fn> bool movedToMainThread(QQuickItem* view, Fn fn) {
    if (isMainThread()) return false;
    dispatchMainAsync([host = QPointer<QQuickItem>(view), fn] {
        if (host) fn(host);
    });
    return true;
}

} // namespace

QQuickItem* BKFindItemWithTag(QQuickItem* root, int tag) {
    if (!root) return nullptr;
    for (QQuickItem* child : root->childItems()) {
        const QVariant value = child->property("tag");
        if (value.isValid() && value.toInt() == tag) return child;
        if (QQuickItem* found = BKFindItemWithTag(child, tag)) return found;
    }
    return nullptr;
}

void BKShowToast(QQuickItem* view, const QString& message) {
    if (!view || movedToMainThread(view, [message](QQuickItem* host) { BKShowToast(host, message); })) return;
    QQuickItem* toast =
        createChild(view, "Toast.qml",
                    {{QStringLiteral("text"), QStringLiteral("  ") + message + QStringLiteral("  ")},
                     {QStringLiteral("bottomInset"), safeAreaBottomInset(view)}});
    if (!toast) return;
    fadeTo(toast, 1.0, [toast = QPointer<QQuickItem>(toast)] {
        dispatchMainAfter(kToastHoldSeconds, [toast] {
            if (!toast) return;
            fadeTo(toast, 0.0, [toast] {
                if (toast) removeItem(toast);
            });
        });
    });
}

void BKShowLoading(QQuickItem* view, const QString& text) {
    if (!view || movedToMainThread(view, [text](QQuickItem* host) { BKShowLoading(host, text); })) return;
    BKDismissLoading(view);
    createChild(view, "LoadingOverlay.qml", {{QStringLiteral("text"), text}});
}

void BKDismissLoading(QQuickItem* view) {
    if (!view || movedToMainThread(view, [](QQuickItem* host) { BKDismissLoading(host); })) return;
    if (QQuickItem* overlay = BKFindItemWithTag(view, BKLoadingViewTag)) removeItem(overlay);
}

} // namespace brisko
