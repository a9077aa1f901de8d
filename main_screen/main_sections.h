#pragma once
// The main screen's model: what its table shows, rebuilt whole from the device and the status.

#include <QSizeF>
#include <QString>
#include <QVariant>
#include <QVariantList>

#include <cstdint>
#include <functional>

namespace brisko {

struct BKDeviceFacts {
    QString systemName; // e.g. "Debian GNU/Linux 12 (bookworm)"
    QString machine;
    QVariant serial;   // null when unreadable
    QSizeF screenSize; // points
    double screenScale = 1.0;
    uint64_t storageFree = 0;
    uint64_t storageTotal = 0;
    uint64_t memoryUsed = 0;
    uint64_t memoryTotal = 0;
};

struct BKMainScreenState {
    bool statusLoaded = false;
    bool toggleBusy = false;
    bool debugEnabled = false;
    bool clientConnected = false;
    QString debugStatus; // null until the daemon or the switch set it
    bool privilegedInstall = false;
    QString bundleIdentifier;
    // Read only when their rows show: the address while debug mode is on, the marker while
    // the start-at-boot row is there.
    std::function<QString()> wifiAddress;
    std::function<bool()> bootMarkerExists;
};

inline constexpr int kDebugServicePort = 8820;
inline const QString kActionFiles = QStringLiteral("files");
inline const QString kActionDebugToggle = QStringLiteral("debug_toggle");
inline const QString kActionBootToggle = QStringLiteral("boot_toggle");
// The address row keeps the model's shape (no "act"); a tap on it still opens its alert.
inline const QString kServiceAddressLabel = QStringLiteral("服务地址");
bool isServiceAddressRow(const QVariantList& sections, int section, int row);

// Sections of {"title", "rows"}; rows of {"l", "v", "i", "c"} plus "act", "sw", "disabled" where
// they apply.
QVariantList BKMainSections(const BKDeviceFacts& device, const BKMainScreenState& state);

// "1170 × 2532 (3x)": pixels and scale, no decimals.
QString BKResolutionText(QSizeF points, double scale);

} // namespace brisko
