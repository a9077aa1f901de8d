#pragma once
// The web panel: one page over the whole navigation view. The view loads what the controller
// asks and hands the page's dialogs to it; the controller passes them to its UI delegate.

#include "app/web/web_ui_delegate.h"
#include "platform/ui/ViewController.h"

#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace brisko {

class BKWebPanelController : public brisko::ui::ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by SetWebViewURL")

  public:
    // The page's dialog kinds, numbered as the engine numbers them.
    enum DialogType { Alert = 0, Confirm = 1, Prompt = 2, BeforeUnload = 3 };
    Q_ENUM(DialogType)

    BKWebPanelController();

    void setUIDelegate(BKWebUIDelegate* delegate) { m_delegate = delegate; }
    BKWebUIDelegate* uiDelegate() const { return m_delegate; }

    void loadURL(const QUrl& url);
    void stopLoading();
    // How many loads were asked of this panel.
    int loadCount() const { return m_loadCount; }

    // The view reports a dialog; the answer comes back through dialogAnswered with the same id.
    Q_INVOKABLE void runJavaScriptDialog(int id, int type, const QString& message,
                                         const QString& defaultText);

  signals:
    void loadRequested(const QUrl& url);
    void stopRequested();
    // accepted false is the page's false or null; text is the prompt's answer.
    void dialogAnswered(int id, bool accepted, const QString& text);

  protected:
    QUrl viewUrl() const override;

  private:
    void answerWithoutDelegate(int id, int type);

    BKWebUIDelegate* m_delegate = nullptr;
    int m_loadCount = 0;
};

} // namespace brisko
