#include "address_alert.h"

#include "BKMainViewController.h"

#include "app/feedback/feedback.h"
#include "app/status/locations.h"
#include "main_screen/qr_code.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/engine.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>
#include <QQuickItem>

namespace brisko {

ui::AlertController* BKMakeServiceAddressAlert(const BKServiceAddressContent& content,
                                               QQuickItem* toastHost) {
    auto* alert = new ui::AlertController(QStringLiteral("服务地址"), content.message);
    if (!content.qrPayload.isEmpty()) {
        BKInstallQRCodeImageProvider(ui::engine());
        alert->setImage(BKQRCodeImageUrl(content.qrPayload), kServiceAddressQRSide);
    }
    if (!content.copyText.isEmpty()) {
        alert->addAction(
            QStringLiteral("复制地址"), ui::AlertController::ActionStyle::Default,
            [text = content.copyText, host = QPointer<QQuickItem>(toastHost)](ui::AlertController*) {
                QGuiApplication::clipboard()->setText(text);
                if (host) BKShowToast(host, QStringLiteral("已复制到剪贴板"));
            });
    }
    alert->addAction(QStringLiteral("确定"), ui::AlertController::ActionStyle::Cancel);
    return alert;
}

void BKMainViewController::showServiceAddress() {
    const QString wifi = wifiAddress();
    const QStringList hosts = BKServiceAddressHosts(wifi, interfaceAddresses());
    // Read at each tap: the daemon makes a new token each time debug mode turns on.
    const BKServiceAddressContent content =
        BKServiceAddressAlertContent(hosts, !wifi.isEmpty(), BKReadDebugToken(BKDocumentsDirectory()));
    present(BKMakeServiceAddressAlert(content, isViewLoaded() ? view() : nullptr));
}

QList<BKInterfaceAddress> BKMainViewController::interfaceAddresses() const {
    return BKListIPv4Addresses();
}

} // namespace brisko
