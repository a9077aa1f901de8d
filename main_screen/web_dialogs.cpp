#include "BKMainViewController.h"

#include "platform/ui/AlertController.h"

#include <QLoggingCategory>
#include <QQuickItem>

namespace brisko {
namespace {
Q_LOGGING_CATEGORY(lcWebDialogs, "brisko.web", QtInfoMsg)

const QString kOK = QStringLiteral("确定");
const QString kCancel = QStringLiteral("取消");

using ui::AlertController;
using Style = ui::AlertController::ActionStyle;
} // namespace

// Presented alerts stack in the window, so a page dialog lands above any alert already up.
// Off screen there is nobody to ask: the caller answers the page at once instead.
bool BKMainViewController::presentPageDialog(AlertController* alert) {
    if (!isViewLoaded() || !view()->window()) {
        qCDebug(lcWebDialogs, "page dialog cancelled: the main screen is in no window");
        delete alert;
        return false;
    }
    m_pageDialogs.removeAll(nullptr);
    m_pageDialogs.append(alert);
    present(alert);
    return true;
}

// The first action of every page dialog is its cancel answer (the alert's only one is "确定").
void BKMainViewController::dismissPageDialogs() {
    const QList<QPointer<AlertController>> shown = std::exchange(m_pageDialogs, {});
    for (const QPointer<AlertController>& alert : shown)
        if (alert) alert->tapActionAt(0);
}

void BKMainViewController::runJavaScriptAlertPanel(const QString& message, std::function<void()> completion) {
    auto* alert = new AlertController(QString(), message);
    alert->addAction(kOK, Style::Default, [completion](AlertController*) { completion(); });
    if (!presentPageDialog(alert)) completion();
}

void BKMainViewController::runJavaScriptConfirmPanel(const QString& message,
                                                     std::function<void(bool)> completion) {
    auto* alert = new AlertController(QString(), message);
    alert->addAction(kCancel, Style::Cancel, [completion](AlertController*) { completion(false); });
    alert->addAction(kOK, Style::Default, [completion](AlertController*) { completion(true); });
    if (!presentPageDialog(alert)) completion(false);
}

void BKMainViewController::runJavaScriptTextInputPanel(
    const QString& prompt, const QString& defaultText,
    std::function<void(std::optional<QString>)> completion) {
    auto* alert = new AlertController(QString(), prompt);
    alert->addTextField(defaultText, QString());
    alert->addAction(kCancel, Style::Cancel, [completion](AlertController*) { completion(std::nullopt); });
    alert->addAction(kOK, Style::Default,
                     [completion](AlertController* shown) { completion(shown->textFieldText(0)); });
    if (!presentPageDialog(alert)) completion(std::nullopt);
}

} // namespace brisko
