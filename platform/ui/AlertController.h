#pragma once
// Alerts and action sheets. Presented alerts stack on top of each other in the window; tests
// reach the top one through topPresented() and tap an action by its title, without rendering.

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariantList>

#include <functional>

#include <QtQml/qqmlregistration.h>

#include <QQuickItem>

namespace brisko::ui {

class AlertController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Alerts are made in C++")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString message READ message CONSTANT)
    Q_PROPERTY(bool actionSheet READ isActionSheet CONSTANT)
    Q_PROPERTY(QVariantList actions READ actionsModel CONSTANT)
    Q_PROPERTY(QVariantList textFields READ textFieldsModel NOTIFY textFieldsChanged)
    Q_PROPERTY(QUrl imageSource READ imageSource CONSTANT)
    Q_PROPERTY(double imageSide READ imageSide CONSTANT)

  public:
    enum class Style { Alert, ActionSheet };
    enum class ActionStyle { Default, Cancel, Destructive };
    using Handler = std::function<void(AlertController*)>;

    struct TextField {
        QString text;
        QString placeholder;
        bool autocapitalize = false;
    };

    AlertController(const QString& title, const QString& message, Style style = Style::Alert);

    QString title() const { return m_title; }
    QString message() const { return m_message; }
    bool isActionSheet() const { return m_style == Style::ActionSheet; }

    void addAction(const QString& title, ActionStyle style = ActionStyle::Default, Handler handler = {});
    int addTextField(const QString& text, const QString& placeholder, bool autocapitalize = false);
    QString textFieldText(int index) const;
    Q_INVOKABLE void setTextFieldText(int index, const QString& text);
    QStringList actionTitles() const;

    // An optional square image under the message (a QR code, say); side in points. Set it before
    // presenting.
    void setImage(const QUrl& source, double side);
    QUrl imageSource() const { return m_imageSource; }
    double imageSide() const { return m_imageSide; }

    // Where an action sheet points from (a popover's anchor on large screens).
    void setAnchorItem(QQuickItem* item) { m_anchor = item; }
    QQuickItem* anchorItem() const { return m_anchor; }

    // Dismisses the alert, then runs the action's handler. False when no action has that title.
    Q_INVOKABLE bool tapAction(const QString& title);
    Q_INVOKABLE void tapActionAt(int index);

    QVariantList actionsModel() const;
    QVariantList textFieldsModel() const;

    static AlertController* topPresented();
    static QList<AlertController*> presented();

  signals:
    void textFieldsChanged();
    void dismissed();

  private:
    struct Action {
        QString title;
        ActionStyle style;
        Handler handler;
    };
    QString m_title;
    QString m_message;
    Style m_style;
    QList<Action> m_actions;
    QList<TextField> m_textFields;
    QPointer<QQuickItem> m_anchor;
    QUrl m_imageSource;
    double m_imageSide = 0;
};

// Shows alert above everything presented before; the window owns it until it is dismissed.
void presentAlert(AlertController* alert);
void dismissAlert(AlertController* alert);

// The window's layer that draws presented alerts (set by the window).
void setAlertLayer(QQuickItem* layer);

} // namespace brisko::ui
