#include "device.h"

#include "system_files.h"

#include <QFile>
#include <QStringList>

#include <cstdio>

#include <sys/statvfs.h>
#include <sys/utsname.h>

namespace brisko {
namespace {

// Device-tree strings end in a zero byte; sysfs ones in a line end.
QString firmwareString(const QString& path) {
    QByteArray data = device::readSystemFile(path);
    while (data.endsWith('\0'))
        data.chop(1);
    return QString::fromUtf8(data).trimmed();
}

QString firstFirmwareString(const QStringList& paths) {
    for (const QString& path : paths) {
        const QString value = firmwareString(path);
        if (!value.isEmpty()) return value;
    }
    return QString();
}

QString kernelMachine() {
    utsname name{};
    if (uname(&name) != 0) return QStringLiteral("-");
    return QString::fromUtf8(name.machine);
}

// One KEY=value line of os-release, with its shell quoting removed.
QString osReleaseValue(const QByteArray& text, const QByteArray& key) {
    for (const QByteArray& line : text.split('\n')) {
        if (!line.startsWith(key + '=')) continue;
        QByteArray value = line.mid(key.size() + 1).trimmed();
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front())
            value = value.mid(1, value.size() - 2);
        return QString::fromUtf8(value);
    }
    return QString();
}

QString osNameFrom(const QByteArray& text) {
    const QString pretty = osReleaseValue(text, "PRETTY_NAME");
    if (!pretty.isEmpty()) return pretty;
    return QStringList{osReleaseValue(text, "NAME"), osReleaseValue(text, "VERSION")}.join(u' ').trimmed();
}

} // namespace

QString BKDeviceMachine() {
    const QString model = firstFirmwareString(
        {QStringLiteral("/sys/class/dmi/id/product_name"), QStringLiteral("/proc/device-tree/model")});
    return model.isEmpty() ? kernelMachine() : model;
}

QVariant BKMobileGestaltValue(const QString& key) {
    if (key != QLatin1String("SerialNumber")) return QVariant();
    const QString serial = firstFirmwareString({QStringLiteral("/sys/class/dmi/id/product_serial"),
                                                QStringLiteral("/proc/device-tree/serial-number")});
    return serial.isEmpty() ? QVariant() : QVariant(serial);
}

QString BKFormatBytes(uint64_t bytes) {
    const double x = double(bytes);
    // C's printf, not QString::asprintf: a tie rounds to even, so half a mebibyte is "0 MB".
    char text[64];
    if (x / 1073741824.0 >= 1.0)
        std::snprintf(text, sizeof text, "%.1f GB", x / 1073741824.0);
    else
        std::snprintf(text, sizeof text, "%.0f MB", x / 1048576.0);
    return QString::fromLatin1(text);
}

QString BKOperatingSystemName() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        const QString name = osNameFrom(device::readSystemFile(QString::fromLatin1(path)));
        if (!name.isEmpty()) return name;
    }
    return QStringLiteral("Linux");
}

BKFileSystemSpace BKFileSystemSpaceForPath(const QString& path) {
    struct statvfs info {};
    if (path.isEmpty() || statvfs(QFile::encodeName(path).constData(), &info) != 0) return {};
    return {uint64_t(info.f_blocks) * info.f_frsize, uint64_t(info.f_bavail) * info.f_frsize};
}

} // namespace brisko
