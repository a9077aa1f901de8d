#include "BKWebPanelController.h"

#include "app/web/web_logging.h"

#include <QPointer>

namespace brisko {

BKWebPanelController::BKWebPanelController() = default;

QUrl BKWebPanelController::viewUrl() const {
    return moduleViewUrl("Web", "WebPanel.qml");
}

void BKWebPanelController::loadURL(const QUrl& url) {
    ++m_loadCount;
    emit loadRequested(url);
}

void BKWebPanelController::stopLoading() {
    emit stopRequested();
}

void BKWebPanelController::runJavaScriptDialog(int id, int type, const QString& message,
                                               const QString& defaultText) {
    if (!m_delegate || type == BeforeUnload) {
        answerWithoutDelegate(id, type);
        return;
    }
    // The panel may be closed before the user answers.
    QPointer<BKWebPanelController> self(this);
    switch (type) {
    case Alert:
        m_delegate->runJavaScriptAlertPanel(message, [self, id] {
            if (self) emit self->dialogAnswered(id, true, {});
        });
        break;
    case Confirm:
        m_delegate->runJavaScriptConfirmPanel(message, [self, id](bool ok) {
            if (self) emit self->dialogAnswered(id, ok, {});
        });
        break;
    case Prompt:
        m_delegate->runJavaScriptTextInputPanel(
            message, defaultText, [self, id](std::optional<QString> text) {
                if (self) emit self->dialogAnswered(id, text.has_value(), text.value_or(QString()));
            });
        break;
    default:
        answerWithoutDelegate(id, type);
    }
}

// Nobody to ask: an alert is acknowledged, leaving a page is allowed, the rest are cancelled.
void BKWebPanelController::answerWithoutDelegate(int id, int type) {
    qCDebug(lcWeb, "dialog %d of type %d answered without a delegate", id, type);
    emit dialogAnswered(id, type == Alert || type == BeforeUnload, {});
}

} // namespace brisko
