#include "AlertController.h"

#include "engine.h"
#include "logging.h"

#include <QHash>
#include <QQmlComponent>
#include <QQuickItem>

namespace brisko::ui {
namespace {

QList<QPointer<AlertController>>& stack() {
    static QList<QPointer<AlertController>> presentedAlerts;
    return presentedAlerts;
}

QPointer<QQuickItem>& alertLayer() {
    static QPointer<QQuickItem> layer;
    return layer;
}

QHash<AlertController*, QQuickItem*>& alertViews() {
    static QHash<AlertController*, QQuickItem*> views;
    return views;
}

void showAlertView(AlertController* alert) {
    if (!alertLayer()) {
        qCDebug(lcUi) << "no window to present" << alert->title();
        return;
    }
    QQmlComponent component(engine(), QUrl(QStringLiteral("qrc:/Brisko/UI/qml/AlertView.qml")));
    QObject* object = component.isReady()
                          ? component.createWithInitialProperties({{"alert", QVariant::fromValue(alert)}})
                          : nullptr;
    auto* item = qobject_cast<QQuickItem*>(object);
    if (!item) {
        qCWarning(lcUi, "AlertView: %s", qPrintable(component.errorString()));
        delete object;
        return;
    }
    item->setParentItem(alertLayer());
    item->setZ(stack().size());
    alertViews().insert(alert, item);
}

} // namespace

AlertController::AlertController(const QString& title, const QString& message, Style style)
    : m_title(title), m_message(message), m_style(style) {}

void AlertController::addAction(const QString& title, ActionStyle style, Handler handler) {
    m_actions.append(Action{title, style, std::move(handler)});
}

int AlertController::addTextField(const QString& text, const QString& placeholder, bool autocapitalize) {
    m_textFields.append(TextField{text, placeholder, autocapitalize});
    emit textFieldsChanged();
    return int(m_textFields.size()) - 1;
}

QString AlertController::textFieldText(int index) const {
    return index >= 0 && index < m_textFields.size() ? m_textFields[index].text : QString();
}

void AlertController::setTextFieldText(int index, const QString& text) {
    if (index < 0 || index >= m_textFields.size() || m_textFields[index].text == text) return;
    m_textFields[index].text = text;
}

void AlertController::setImage(const QUrl& source, double side) {
    m_imageSource = source;
    m_imageSide = source.isEmpty() ? 0 : side;
}

QStringList AlertController::actionTitles() const {
    QStringList titles;
    for (const Action& action : m_actions)
        titles << action.title;
    return titles;
}

bool AlertController::tapAction(const QString& title) {
    for (int i = 0; i < m_actions.size(); ++i) {
        if (m_actions[i].title != title) continue;
        tapActionAt(i);
        return true;
    }
    return false;
}

void AlertController::tapActionAt(int index) {
    if (index < 0 || index >= m_actions.size()) return;
    Handler handler = m_actions[index].handler;
    dismissAlert(this);
    if (handler) handler(this);
}

QVariantList AlertController::actionsModel() const {
    static const char* styles[] = {"default", "cancel", "destructive"};
    QVariantList list;
    for (const Action& action : m_actions)
        list.append(QVariantMap{{"title", action.title}, {"style", styles[int(action.style)]}});
    return list;
}

QVariantList AlertController::textFieldsModel() const {
    QVariantList list;
    for (const TextField& field : m_textFields)
        list.append(QVariantMap{{"text", field.text},
                                {"placeholder", field.placeholder},
                                {"autocapitalize", field.autocapitalize}});
    return list;
}

AlertController* AlertController::topPresented() {
    auto& s = stack();
    return s.isEmpty() ? nullptr : s.last().data();
}

QList<AlertController*> AlertController::presented() {
    QList<AlertController*> list;
    for (const auto& alert : stack())
        if (alert) list.append(alert);
    return list;
}

void presentAlert(AlertController* alert) {
    if (!alert || stack().contains(alert)) return;
    stack().append(alert);
    showAlertView(alert);
}

void dismissAlert(AlertController* alert) {
    if (!stack().removeAll(alert)) return;
    if (QQuickItem* view = alertViews().take(alert)) view->deleteLater();
    emit alert->dismissed();
    alert->deleteLater();
}

void setAlertLayer(QQuickItem* layer) {
    alertLayer() = layer;
}

} // namespace brisko::ui
