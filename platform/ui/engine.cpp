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
        auto* e = new QQmlEngine(qApp);
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
