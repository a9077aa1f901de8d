#pragma once
// Finding and clicking items of a rendered view by name.

#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

namespace brisko::testing {

// Depth first through the visual tree: delegates are not QObject children of the view.
inline QList<QQuickItem*> descendants(QQuickItem* root) {
    QList<QQuickItem*> all;
    for (QQuickItem* child : root->childItems())
        all << child << descendants(child);
    return all;
}

inline QQuickItem* itemNamed(QQuickItem* root, const QString& name) {
    for (QQuickItem* item : descendants(root))
        if (item->objectName() == name) return item;
    return nullptr;
}

inline QPoint centreOf(QQuickItem* item) {
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

inline void click(QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) {
    QTest::mouseClick(item->window(), button, {}, centreOf(item));
}

} // namespace brisko::testing
