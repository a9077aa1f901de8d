#include "main_sections.h"

#include "platform/device/device.h"

#include <QVariantMap>

#include <cstdio>

namespace brisko {
namespace {

QVariantMap row(const QString& label, const QString& value, const QString& symbol, const QString& color) {
    return {{"l", label}, {"v", value}, {"i", symbol}, {"c", color}};
}

QVariantMap section(const QString& title, const QVariantList& rows) {
    return {{"title", title}, {"rows", rows}};
}

QString pair(const QString& first, const QString& second) {
    return first + QStringLiteral(" / ") + second;
}

QVariantList deviceRows(const BKDeviceFacts& d) {
    const QString serial = d.serial.isNull() ? QString() : d.serial.toString();
    return {
        row("系统版本", d.systemName, "gear", "systemGray"),
        row("设备型号", d.machine, "iphone", "systemPurple"),
        row("序列号", serial.isEmpty() ? QStringLiteral("-") : serial, "barcode", "systemRed"),
        row("屏幕分辨率", BKResolutionText(d.screenSize, d.screenScale), "rectangle.dashed", "systemTeal"),
        row("存储状态", pair(BKFormatBytes(d.storageFree), BKFormatBytes(d.storageTotal)), "internaldrive",
            "systemGreen"),
        row("内存状态", pair(BKFormatBytes(d.memoryUsed), BKFormatBytes(d.memoryTotal)), "memorychip",
            "systemOrange"),
    };
}

QString debugRowText(const BKMainScreenState& s) {
    if (s.toggleBusy) return QStringLiteral("切换中...");
    if (s.statusLoaded) return QStringLiteral("用于让开发者连接设备进行调试");
    return QStringLiteral("读取状态中...");
}

QString serviceAddressText(const BKMainScreenState& s) {
    const QString wifi = s.wifiAddress ? s.wifiAddress() : QString();
    QString status = s.debugStatus;
    if (status.isNull())
        status = s.clientConnected ? QStringLiteral("已连接") : QStringLiteral("等待连接...");
    return QStringLiteral("%1:%2（%3）")
        .arg(wifi.isEmpty() ? QStringLiteral("--") : wifi)
        .arg(kDebugServicePort)
        .arg(status);
}

QVariantList toolRows(const BKMainScreenState& s) {
    QVariantMap files = row("文件管理", "管理应用私有文件", "folder.fill", "systemBlue");
    files["act"] = kActionFiles;
    QVariantMap debug = row("调试模式", debugRowText(s), "ladybug.fill", "systemOrange");
    debug["act"] = kActionDebugToggle;
    debug["sw"] = s.debugEnabled;
    debug["disabled"] = s.toggleBusy || !s.statusLoaded;
    QVariantList rows{files, debug};
    if (s.debugEnabled)
        rows.append(row(kServiceAddressLabel, serviceAddressText(s), "network", "systemBlue"));
    if (!s.debugEnabled && !s.privilegedInstall) {
        QVariantMap boot = row("开机自启", "需要关闭锁屏密码", "power", "systemGreen");
        boot["act"] = kActionBootToggle;
        boot["sw"] = s.bootMarkerExists && s.bootMarkerExists();
        rows.append(boot);
    }
    return rows;
}

QVariantList aboutRows(const BKMainScreenState& s) {
    const QString identifier = s.bundleIdentifier.isEmpty() ? QStringLiteral("-") : s.bundleIdentifier;
    return {
        row("应用版本", "1.1.0", "app.badge", "systemIndigo"),
        row("应用包名", identifier, "shippingbox", "systemTeal"),
    };
}

} // namespace

QString BKResolutionText(QSizeF points, double scale) {
    // C's printf rounding, as for the byte counts.
    char text[96];
    std::snprintf(text, sizeof text, "%.0f × %.0f (%.0fx)", points.width() * scale, points.height() * scale,
                  scale);
    return QString::fromUtf8(text);
}

bool isServiceAddressRow(const QVariantList& sections, int section, int row) {
    const QVariantList rows = sections.value(section).toMap().value("rows").toList();
    return rows.value(row).toMap().value("l").toString() == kServiceAddressLabel;
}

QVariantList BKMainSections(const BKDeviceFacts& device, const BKMainScreenState& state) {
    return {
        section("设备信息", deviceRows(device)),
        section("工具", toolRows(state)),
        section("关于", aboutRows(state)),
    };
}

} // namespace brisko
