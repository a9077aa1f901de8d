#include "ViewController.h"

#include "AlertController.h"
#include "NavigationController.h"
#include "engine.h"
#include "logging.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

namespace brisko::ui {

ViewController::ViewController(QObject* parent) : QObject(parent) {}

ViewController::~ViewController() {
    delete m_view;
}

void ViewController::setTitle(const QString& title) {
    if (m_title == title) return;
    m_title = title;
    emit titleChanged();
}

void ViewController::setTitleFont(TitleFont font) {
    if (m_titleFont == font) return;
    m_titleFont = font;
    emit titleChanged();
}

void ViewController::setRightBarItems(const QVariantList& items) {
    m_rightBarItems = items;
    emit rightBarItemsChanged();
}

QUrl ViewController::viewUrl() const {
    return moduleViewUrl("UI", "EmptyView.qml");
}

QUrl ViewController::moduleViewUrl(const char* module, const char* file) {
    return QUrl(QStringLiteral("qrc:/Brisko/%1/qml/%2").arg(QLatin1String(module), QLatin1String(file)));
}

QQuickItem* ViewController::view() {
    if (!m_view) {
        m_view = createView();
        viewDidLoad();
    }
    return m_view;
}

QQuickItem* ViewController::createView() {
    QQmlComponent component(engine(), viewUrl());
    QObject* object = component.isReady()
                          ? component.createWithInitialProperties({{"controller", QVariant::fromValue(this)}})
                          : nullptr;
    auto* item = qobject_cast<QQuickItem*>(object);
    if (!item) {
        qCWarning(lcUi, "view %s: %s", qPrintable(viewUrl().toString()), qPrintable(component.errorString()));
        delete object;
        item = new QQuickItem;
    }
    QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
    return item;
}

NavigationController* ViewController::navigationController() const {
    return static_cast<NavigationController*>(m_navigationController.data());
}

void ViewController::present(AlertController* alert) {
    presentAlert(alert);
}

} // namespace brisko::ui
