#include "web_panel.h"

#include "app/status/app_references.h"
#include "app/web/BKWebPanelController.h"
#include "app/web/web_logging.h"
#include "platform/dispatch/dispatch.h"
#include "platform/ui/NavigationController.h"

#include <QQuickItem>

#include <memory>

namespace brisko {

Q_LOGGING_CATEGORY(lcWeb, "brisko.web", QtInfoMsg)

namespace {

// Above the bar and every pushed screen of the navigation view.
constexpr qreal kPanelZ = 10000;

std::unique_ptr<BKWebPanelController> _webView;

BKWebPanelController* createPanel(ui::NavigationController* nav) {
    _webView = std::make_unique<BKWebPanelController>();
    const QList<ui::ViewController*> screens = nav->viewControllers();
    _webView->setUIDelegate(screens.isEmpty() ? nullptr : dynamic_cast<BKWebUIDelegate*>(screens.first()));
    QQuickItem* panel = _webView->view();
    panel->setParentItem(nav->view());
    panel->setZ(kPanelZ);
    return _webView.get();
}

void showOnMain(const QUrl& url) {
    ui::NavigationController* nav = _rootNav.data();
    if (!nav) {
        qCDebug(lcWeb, "no navigation controller for %s", qPrintable(url.toString()));
        return;
    }
    BKWebPanelController* panel = _webView ? _webView.get() : createPanel(nav);
    panel->loadURL(url);
}

} // namespace

void SetWebViewURL(const char* url) {
    if (!url) return;
    const QUrl parsed(QString::fromUtf8(url), QUrl::StrictMode);
    if (!parsed.isValid() || parsed.isEmpty()) {
        qCDebug(lcWeb, "malformed panel address ignored");
        return;
    }
    // _rootNav belongs to the main thread: it is looked at there, in call order.
    dispatchMainAsync([parsed] { showOnMain(parsed); });
}

void CloseWebView() {
    dispatchMainAsync([] {
        if (!_webView) return;
        if (BKWebUIDelegate* delegate = _webView->uiDelegate()) delegate->dismissPageDialogs();
        _webView->stopLoading();
        if (_webView->isViewLoaded()) _webView->view()->setParentItem(nullptr);
        _webView.reset();
    });
}

BKWebPanelController* BKCurrentWebView() {
    return _webView.get();
}

} // namespace brisko
