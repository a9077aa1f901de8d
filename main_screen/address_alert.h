#pragma once
// The alert behind the "服务地址" row.

#include "main_screen/service_address.h"

class QQuickItem;

namespace brisko {
namespace ui {
class AlertController;
}

inline constexpr double kServiceAddressQRSide = 200;

// Title "服务地址", the content's message, its QR code when it has one, "复制地址" when there is
// something to copy (the toast goes on toastHost) and "确定".
ui::AlertController* BKMakeServiceAddressAlert(const BKServiceAddressContent& content, QQuickItem* toastHost);

} // namespace brisko
