#include "feedback.h"

#include "platform/dispatch/dispatch.h"

#include <QCoreApplication>
#include <QHash>
#include <QLoggingCategory>
#include <QPointer>
#include <QPropertyAnimation>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QUrl>

#include <algorithm>

namespace brisko {
namespace {

Q_LOGGING_CATEGORY(lcFeedback, "brisko.ui.feedback", QtInfoMsg)

constexpr int kFadeMs = 250;
constexpr double kToastHoldSeconds = 1.6;

QQmlEngine* engineFor(QQuickItem* host) {
    if (QQmlEngine* engine = qmlEngine(host)) return engine;
    // Hosts built in C++ have no engine of their own.
    static QPointer<QQmlEngine> fallback;
    if (!fallback) fallback = new QQmlEngine(QCoreApplication::instance());
    return fallback;
}

// Each host's overlay, found without searching the host's item tree.
QHash<const QQuickItem*, QPointer<QQuickItem>>& loadingOverlays() {
    static QHash<const QQuickItem*, QPointer<QQuickItem>> overlays;
    return overlays;
}

QQuickItem* createChild(QQuickItem* host, const char* qmlFile, QVariantMap properties) {
    QQmlComponent component(engineFor(host),
                            QUrl(QStringLiteral("qrc:/Brisko/Feedback/qml/") + QLatin1String(qmlFile)));
    properties.insert(QStringLiteral("parent"), QVariant::fromValue<QObject*>(host));
    QObject* object = component.createWithInitialProperties(properties);
    auto* item = qobject_cast<QQuickItem*>(object);
    if (!item) {
        qCWarning(lcFeedback, "%s: %s", qmlFile, qPrintable(component.errorString()));
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

QQuickItem* BKLoadingOverlayFor(QQuickItem* host) {
    return loadingOverlays().value(host);
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
    QQuickItem* overlay = createChild(view, "LoadingOverlay.qml", {{QStringLiteral("text"), text}});
    if (!overlay) return;
    loadingOverlays().insert(view, overlay);
    QObject::connect(view, &QObject::destroyed, overlay, [view] { loadingOverlays().remove(view); });
}

void BKDismissLoading(QQuickItem* view) {
    if (!view || movedToMainThread(view, [](QQuickItem* host) { BKDismissLoading(host); })) return;
    // An overlay shown on a descendant of the host is the host's too.
    auto& overlays = loadingOverlays();
    for (auto it = overlays.begin(); it != overlays.end();) {
        const bool within = it.key() == view || view->isAncestorOf(it.key());
        QPointer<QQuickItem> overlay = within ? it.value() : nullptr;
        it = within ? overlays.erase(it) : std::next(it);
        if (overlay) removeItem(overlay);
    }
}

} // namespace brisko
