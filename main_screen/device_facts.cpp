#include "device_facts.h"

#include "platform/device/device.h"
#include "platform/device/memory.h"

#include <QDir>
#include <QGuiApplication>
#include <QScreen>

namespace brisko {

BKDeviceFacts BKReadDeviceFacts() {
    BKDeviceFacts facts;
    facts.systemName = BKOperatingSystemName();
    facts.machine = BKDeviceMachine();
    facts.serial = BKMobileGestaltValue(QStringLiteral("SerialNumber"));
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        facts.screenSize = screen->size();
        facts.screenScale = screen->devicePixelRatio();
    }
    const BKFileSystemSpace storage = BKFileSystemSpaceForPath(QDir::homePath());
    facts.storageFree = storage.free;
    facts.storageTotal = storage.total;
    const BKMemoryUsage memory = BKReadMemoryUsage();
    facts.memoryUsed = memory.used;
    facts.memoryTotal = memory.physical;
    return facts;
}

} // namespace brisko
