#pragma once
// Who answers a page's alert, confirm and prompt. Each completion must run exactly once.

#include <QString>

#include <functional>
#include <optional>

namespace brisko {

class BKWebUIDelegate {
  public:
    virtual ~BKWebUIDelegate() = default;

    virtual void runJavaScriptAlertPanel(const QString& message, std::function<void()> completion) = 0;
    virtual void runJavaScriptConfirmPanel(const QString& message, std::function<void(bool)> completion) = 0;
    // nullopt is the page's null.
    virtual void runJavaScriptTextInputPanel(const QString& prompt, const QString& defaultText,
                                             std::function<void(std::optional<QString>)> completion) = 0;
    // The page is gone: dialogs still up are answered as cancelled and taken down.
    virtual void dismissPageDialogs() = 0;
};

} // namespace brisko
