#include "network.h"

#include "system_files.h"

#include <QFileInfo>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace brisko {
namespace {

QList<BKInterfaceAddress> interfaceIPv4Addresses(const ifaddrs* list) {
    QList<BKInterfaceAddress> result;
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_name) continue;
        char text[INET_ADDRSTRLEN] = {};
        const auto* ipv4 = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
        if (!inet_ntop(AF_INET, &ipv4->sin_addr, text, sizeof text)) continue;
        result.append({QString::fromUtf8(entry->ifa_name), AF_INET, QString::fromLatin1(text)});
    }
    return result;
}

} // namespace

bool BKIsWirelessInterface(const QString& interface) {
    if (interface.isEmpty() || interface.contains(u'/')) return false;
    const QString folder = device::systemPath(QStringLiteral("/sys/class/net/") + interface);
    return QFileInfo::exists(folder + QStringLiteral("/wireless")) ||
           QFileInfo::exists(folder + QStringLiteral("/phy80211"));
}

QString BKFirstWirelessIPv4(const QList<BKInterfaceAddress>& addresses) {
    for (const BKInterfaceAddress& entry : addresses) {
        if (entry.family == AF_INET && BKIsWirelessInterface(entry.interface)) return entry.address;
    }
    return QString();
}

QList<BKInterfaceAddress> BKListIPv4Addresses() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return {};
    const QList<BKInterfaceAddress> addresses = interfaceIPv4Addresses(list);
    freeifaddrs(list);
    return addresses;
}

QString BKGetWiFiAddress() {
    return BKFirstWirelessIPv4(BKListIPv4Addresses());
}

} // namespace brisko
