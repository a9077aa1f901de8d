#pragma once
// What the "服务地址" alert shows: the debug link's address with its pairing token.

#include "platform/device/network.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace brisko {

// The daemon's pairing token in DOCUMENTS while debug mode is on.
inline const QString kDebugTokenFileName = QStringLiteral(".floatball.token");
inline constexpr int kDebugTokenLength = 64;

// The token when the file holds exactly 64 lowercase hex digits; nothing for a missing, unreadable,
// linked, oversized or malformed file.
std::optional<QString> BKReadDebugToken(const QString& documentsDirectory);

// The Wi-Fi address alone when there is one; otherwise every other non-loopback IPv4 address,
// once each, in interface order.
QStringList BKServiceAddressHosts(const QString& wifiAddress, const QList<BKInterfaceAddress>& addresses);

// "http://IP:8820/?token=…"
QString BKDebugServiceURL(const QString& host, const QString& token);

struct BKServiceAddressContent {
    QString message;
    QString qrPayload; // empty when there is nothing worth scanning
    QString copyText;  // empty when there is nothing worth copying
};

BKServiceAddressContent BKServiceAddressAlertContent(const QStringList& hosts, bool hostsAreWiFi,
                                                     const std::optional<QString>& token);

} // namespace brisko
