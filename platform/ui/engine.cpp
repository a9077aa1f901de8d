#include "engine.h"
#include "logging.h"

#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QQmlEngine>

namespace brisko::ui {

Q_LOGGING_CATEGORY(lcUi, "brisko.ui", QtInfoMsg)

QQmlEngine* engine() {
    static QQmlEngine* instance = [] {
        // Lives until the process ends: on Qt 6.4 destroying an engine whose pixmap reader has run
        // (thumbnails) can wait forever for that thread, which would hang quitting.
        auto* e = new QQmlEngine;
        e->addImportPath(QStringLiteral("qrc:/"));
        return e;
    }();
    return instance;
}

void installSystemFont() {
    const QStringList preferred = {QStringLiteral("Noto Sans CJK SC"), QStringLiteral("Noto Sans SC"),
                                   QStringLiteral("Noto Sans CJK")};
    const QStringList families = QFontDatabase::families();
    for (const QString& family : preferred) {
        if (!families.contains(family)) continue;
        QFont font(family);
        font.setPixelSize(17);
        QGuiApplication::setFont(font);
        return;
    }
}

} // namespace brisko::ui
