// BKMainViewController: the start/stop bar and its requests to the daemon.

#include "BKMainViewController.h"

#include "app/feedback/feedback.h"
#include "app/status/runtime_status.h"
#include "main_screen/script_control.h"
#include "platform/dispatch/dispatch.h"
#include "platform/ui/AlertController.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>

#include <cmath>

namespace brisko {
namespace {

constexpr int kRequestTimeoutMs = 3000;
constexpr double kStatusRequestDelay = 0.3;

// Frames of the bar for a table of the given width: margins 16, gap 12, buttons 50 high,
// 8 above and 12 below them.
QVariantMap barLayout(double width) {
    const double buttonWidth = std::floor((width - 2 * 16 - 12) / 2);
    return {{"barHeight", 8 + 50 + 12},
            {"buttonY", 8},
            {"buttonHeight", 50},
            {"buttonWidth", buttonWidth},
            {"startX", 16},
            {"stopX", 16 + buttonWidth + 12},
            {"startTitle", "启动脚本"},
            {"startColor", "systemGreen"},
            {"stopTitle", "停止脚本"},
            {"stopColor", "systemRed"},
            {"cornerRadius", 14},
            {"fontSize", 16}};
}

// What the reply says: a transport failure has no HTTP status; anything else is the server's answer.
int httpStatus(QNetworkReply* reply) {
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return status.isValid() ? status.toInt() : 0;
}

// A reset or time-out after the status line leaves a status but no whole reply: still transport.
bool isTransportError(QNetworkReply* reply, int status) {
    const QNetworkReply::NetworkError error = reply->error();
    if (error == QNetworkReply::NoError) return false;
    return status == 0 || error < QNetworkReply::ContentAccessDenied ||
           error == QNetworkReply::ProtocolFailure;
}

} // namespace

void BKMainViewController::configureScriptControlsIfNeeded() {
    const bool due = !_debugServiceEnabled && isViewLoaded() && isPrivilegedInstall();
    if (due == m_scriptControlsShown) {
        if (due) layoutScriptControlHeaderIfNeeded();
        return;
    }
    m_scriptControlsShown = due;
    emit scriptControlsChanged();
    if (due) layoutScriptControlHeaderIfNeeded();
}

void BKMainViewController::layoutScriptControlHeaderIfNeeded() {
    if (!m_scriptControlsShown || _debugServiceEnabled || m_tableWidth <= 0) return;
    const QVariantMap layout = barLayout(m_tableWidth);
    if (layout == m_scriptControlLayout) return;
    m_scriptControlLayout = layout;
    emit scriptControlsChanged();
}

void BKMainViewController::setTableWidth(double width) {
    m_tableWidth = width;
    viewDidLayoutSubviews();
}

void BKMainViewController::startScriptButtonTapped() {
    sendScriptControlCommand("start", "启动");
}
void BKMainViewController::stopScriptButtonTapped() {
    sendScriptControlCommand("stop", "停止");
}

void BKMainViewController::sendScriptControlCommand(const QString& cmd, const QString& actionName) {
    const QUrl url = BKScriptControlURL(cmd);
    if (!url.isValid()) return;
    QNetworkRequest request(url);
    request.setTransferTimeout(kRequestTimeoutMs);
    BKShowLoading(view(), actionName + QStringLiteral("中..."));
    QNetworkReply* reply = BKSharedURLSession()->get(request);
    // The reply keeps the screen alive until it is handled, as a pending request does.
    connect(reply, &QNetworkReply::finished, this, [this, reply, actionName] {
        reply->deleteLater();
        const int status = httpStatus(reply);
        handleScriptControlReply(actionName,
                                 isTransportError(reply, status) ? reply->errorString() : QString(), status,
                                 reply->readAll());
    });
}

void BKMainViewController::handleScriptControlReply(const QString& actionName, const QString& transportError,
                                                    int statusCode, const QByteArray& body) {
    BKDismissLoading(view());
    const BKScriptControlOutcome outcome =
        BKScriptControlOutcomeFor(actionName, transportError, statusCode, body);
    if (!outcome.sent) {
        showScriptControlErrorWithTitle(outcome.alertTitle, outcome.alertMessage);
        return;
    }
    BKShowToast(view(), outcome.toast);
    dispatchMainAfter(kStatusRequestDelay, [self = QPointer(this)] {
        if (self) self->requestRuntimeStatus();
    });
}

void BKMainViewController::showScriptControlErrorWithTitle(const QString& title, const QString& message) {
    auto* alert =
        new ui::AlertController(title, message.isNull() ? QStringLiteral("请求未发送成功") : message);
    alert->addAction(QStringLiteral("确定"), ui::AlertController::ActionStyle::Default);
    present(alert);
}

} // namespace brisko
