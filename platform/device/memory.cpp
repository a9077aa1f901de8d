#include "memory.h"

#include "system_files.h"

#include <QHash>

namespace brisko {
namespace {

// "Name:   1234 kB" lines, in bytes.
QHash<QByteArray, uint64_t> meminfoFields(const QByteArray& text) {
    QHash<QByteArray, uint64_t> fields;
    for (const QByteArray& line : text.split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) continue;
        const QList<QByteArray> parts = line.mid(colon + 1).simplified().split(' ');
        bool ok = false;
        const uint64_t value = parts.value(0).toULongLong(&ok);
        if (!ok) continue;
        const bool kib = parts.value(1) == "kB";
        fields.insert(line.left(colon), kib ? value * 1024 : value);
    }
    return fields;
}

} // namespace

BKMemoryUsage BKReadMemoryUsage() {
    const auto fields = meminfoFields(device::readSystemFile(QStringLiteral("/proc/meminfo")));
    // Unevictable pages sit on their own list, apart from Active; the kernel's own
    // allocations are on no list at all, so none of these overlap.
    uint64_t used = 0;
    for (const char* name : {"Active", "Unevictable", "SUnreclaim", "KernelStack", "PageTables"})
        used += fields.value(name);
    return {fields.value("MemTotal"), used};
}

} // namespace brisko
