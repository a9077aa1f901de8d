#include "web_scenes.h"

#include "app/status/app_references.h"
#include "app/web/web_panel.h"
#include "app/web/web_ui_delegate.h"
#include "platform/bundle/bundle.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/ViewController.h"
#include "platform/ui/scenes.h"

#include <QDir>
#include <QUrl>

namespace brisko {
namespace {

// The page engine starts its processes on the first show; later shows are quicker.
constexpr int kFirstPageMs = 4000;
constexpr int kPageMs = 2000;

void showSamplePage() {
    const QString page = QDir(bundle::bundlePath()).filePath(QStringLiteral("app/web/index.html"));
    SetWebViewURL(QUrl::fromLocalFile(page).toEncoded().constData());
}

BKWebUIDelegate* mainScreenDelegate() {
    return dynamic_cast<BKWebUIDelegate*>(_mainVC.data());
}

// Closes every alert the scene left up, then the panel.
void dismissAllAndClose() {
    while (ui::AlertController* alert = ui::AlertController::topPresented())
        alert->tapActionAt(0);
    CloseWebView();
}

// The panel with the sample page and a dialog the page would have asked for.
ui::SceneSetUp panelWith(std::function<void(BKWebUIDelegate*)> dialog) {
    return [dialog](QQuickItem*) -> std::function<void()> {
        showSamplePage();
        if (BKWebUIDelegate* delegate = mainScreenDelegate(); delegate && dialog) dialog(delegate);
        return dismissAllAndClose;
    };
}

} // namespace

void registerWebPanelScenes() {
    ui::registerScene(QStringLiteral("web-panel"), panelWith({}), kFirstPageMs);
    ui::registerScene(QStringLiteral("web-alert"), panelWith([](BKWebUIDelegate* delegate) {
                          delegate->runJavaScriptAlertPanel(QStringLiteral("示例脚本正在运行"), [] {});
                      }),
                      kPageMs);
    ui::registerScene(QStringLiteral("web-confirm"), panelWith([](BKWebUIDelegate* delegate) {
                          delegate->runJavaScriptConfirmPanel(QStringLiteral("确定要停止脚本吗？"),
                                                              [](bool) {});
                      }),
                      kPageMs);
    ui::registerScene(QStringLiteral("web-prompt"), panelWith([](BKWebUIDelegate* delegate) {
                          delegate->runJavaScriptTextInputPanel(QStringLiteral("请输入设备名称"),
                                                                QStringLiteral("我的设备"),
                                                                [](std::optional<QString>) {});
                      }),
                      kPageMs);
    ui::registerScene(QStringLiteral("web-dialog-over-alert"), panelWith([](BKWebUIDelegate* delegate) {
                          delegate->runJavaScriptAlertPanel(QStringLiteral("第一个提示"), [] {});
                          delegate->runJavaScriptConfirmPanel(QStringLiteral("第二个提示在上面"),
                                                              [](bool) {});
                      }),
                      kPageMs);
}

} // namespace brisko
