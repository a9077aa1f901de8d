#pragma once
// The device's Wi-Fi IPv4 address.

#include <QList>
#include <QString>

namespace brisko {

struct BKInterfaceAddress {
    QString interface;
    int family = 0; // AF_INET, AF_INET6, ...
    QString address;
};

// True when the kernel sees a wireless device behind the interface.
bool BKIsWirelessInterface(const QString& interface);

// The first IPv4 address, in list order, on a wireless interface; null when there is none.
QString BKFirstWirelessIPv4(const QList<BKInterfaceAddress>& addresses);

// Every interface's IPv4 addresses, in the kernel's order; empty when the list cannot be read.
QList<BKInterfaceAddress> BKListIPv4Addresses();

// The same over the system's interface list; null when it cannot be read.
QString BKGetWiFiAddress();

} // namespace brisko
