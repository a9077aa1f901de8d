#pragma once
// The root screen: device facts, tools (file manager, debug mode, start at boot) and about.

#include "main_screen/main_sections.h"
#include "platform/ui/viewcontroller.h"

#include <QVariantList>

namespace brisko {

class BKMainViewController : public ui::ViewController {
    Q_OBJECT
    // The model, with its plain keys; tableSections is the same drawn as the table draws it.
    Q_PROPERTY(QVariantList sections READ sections NOTIFY sectionsChanged)
    Q_PROPERTY(QVariantList tableSections READ tableSections NOTIFY sectionsChanged)

public:
    BKMainViewController();

    QVariantList sections() const { return m_sections; }
    QVariantList tableSections() const { return m_tableSections; }

    // Pings the daemon; until its first answer, retries every 0.5 s, at most 5 times in all.
    void requestRuntimeStatus();
    void sendDebugToggleRequest(bool on);
    // The switches' value-changed actions; sender is the switch (its "checked" property).
    void debugToggleChanged(QObject* sender);
    void bootToggleChanged(QObject* sender);
    void openLogs();
    void sendScriptControlCommand(const QString& cmd, const QString& actionName);

    Q_INVOKABLE void didSelectRow(int section, int row);
    Q_INVOKABLE void switchToggled(int section, int row, QObject* sender);
    void barItemTapped(const QString& id) override;

public slots:
    // Rebuilds the model from the runtime status and the device.
    void refreshData();

signals:
    void sectionsChanged();

protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;

    // The screen's ties to the daemon, the keep-alive and the machine, for tests to observe.
    virtual void postNotification(const QString& name);
    virtual void startKeepAlive();
    virtual void stopKeepAlive();
    virtual BKDeviceFacts readDeviceFacts() const;
    virtual QString wifiAddress() const;
    virtual bool isPrivilegedInstall() const;

private:
    BKMainScreenState currentState() const;
    QString rowAction(int section, int row) const;
    void openFileManager();

    QVariantList m_sections;
    QVariantList m_tableSections;
};

} // namespace brisko
