#pragma once
// The root screen: device facts, tools (file manager, debug mode, start at boot) and about.

#include "app/web/web_ui_delegate.h"
#include "main_screen/main_sections.h"
#include "platform/device/network.h"
#include "platform/ui/ViewController.h"

#include <QPointer>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace brisko {

class BKMainViewController : public brisko::ui::ViewController, public BKWebUIDelegate {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the launch")
    // The model, with its plain keys; tableSections is the same drawn as the table draws it.
    Q_PROPERTY(QVariantList sections READ sections NOTIFY sectionsChanged)
    Q_PROPERTY(QVariantList tableSections READ tableSections NOTIFY sectionsChanged)
    // The start/stop bar below the table: shown or not, and its frames for the table's width.
    Q_PROPERTY(bool scriptControlsShown READ scriptControlsShown NOTIFY scriptControlsChanged)
    Q_PROPERTY(QVariantMap scriptControlLayout READ scriptControlLayout NOTIFY scriptControlsChanged)

  public:
    BKMainViewController();

    QVariantList sections() const { return m_sections; }
    QVariantList tableSections() const { return m_tableSections; }
    bool scriptControlsShown() const { return m_scriptControlsShown; }
    QVariantMap scriptControlLayout() const { return m_scriptControlLayout; }

    // Pings the daemon; until its first answer, retries every 0.5 s, at most 5 times in all.
    void requestRuntimeStatus();
    void sendDebugToggleRequest(bool on);
    // The switches' value-changed actions with the state the user asked for; the model then
    // says what the switch shows.
    void debugToggleChanged(bool on);
    void bootToggleChanged(bool on);
    void openLogs();
    // The "服务地址" row: the address with the pairing token, its QR code and a copy button
    // (address_alert.cpp).
    void showServiceAddress();

    // The start/stop bar: due while debug mode is off on a privileged install.
    void configureScriptControlsIfNeeded();
    void layoutScriptControlHeaderIfNeeded();
    Q_INVOKABLE void startScriptButtonTapped();
    Q_INVOKABLE void stopScriptButtonTapped();
    // One GET to the daemon's task endpoint under the loading overlay; a toast or an alert after.
    void sendScriptControlCommand(const QString& cmd, const QString& actionName);
    void showScriptControlErrorWithTitle(const QString& title, const QString& message);
    // The view reports its table's width as it lays out.
    Q_INVOKABLE void setTableWidth(double width);

    Q_INVOKABLE void didSelectRow(int section, int row);
    Q_INVOKABLE void switchToggled(int section, int row, bool on);
    void barItemTapped(const QString& id) override;

    // The web panel's dialogs, as alerts above whatever is presented (web_dialogs.cpp).
    void runJavaScriptAlertPanel(const QString& message, std::function<void()> completion) override;
    void runJavaScriptConfirmPanel(const QString& message, std::function<void(bool)> completion) override;
    void runJavaScriptTextInputPanel(const QString& prompt, const QString& defaultText,
                                     std::function<void(std::optional<QString>)> completion) override;
    void dismissPageDialogs() override;

  public slots:
    // Rebuilds the model from the runtime status and the device.
    void refreshData();

  signals:
    void sectionsChanged();
    void scriptControlsChanged();

  protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidLayoutSubviews() override;

    // The screen's ties to the daemon, the keep-alive and the machine, for tests to observe.
    virtual void postNotification(const QString& name);
    virtual void startKeepAlive();
    virtual void stopKeepAlive();
    virtual BKDeviceFacts readDeviceFacts() const;
    virtual QString wifiAddress() const;
    virtual QList<BKInterfaceAddress> interfaceAddresses() const;
    virtual bool isPrivilegedInstall() const;

  private:
    BKMainScreenState currentState() const;
    bool presentPageDialog(ui::AlertController* alert);
    QString rowAction(int section, int row) const;
    void openFileManager();
    void handleScriptControlReply(const QString& actionName, const QString& transportError, int statusCode,
                                  const QByteArray& body);

    QVariantList m_sections;
    QVariantList m_tableSections;
    bool m_scriptControlsShown = false;
    QVariantMap m_scriptControlLayout;
    double m_tableWidth = 0;
    QList<QPointer<ui::AlertController>> m_pageDialogs;
};

} // namespace brisko
