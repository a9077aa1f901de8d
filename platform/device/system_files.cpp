#include "system_files.h"

#include <QFile>

namespace brisko::device {
namespace {
QString s_root;
} // namespace

void setSystemRootForTesting(const QString& root) {
    s_root = root;
}

QString systemPath(const QString& path) {
    return s_root + path;
}

QByteArray readSystemFile(const QString& path) {
    QFile file(systemPath(path));
    // sysfs and procfs report a size of 0 or 4096 whatever they hold: read to the end.
    if (!file.open(QIODevice::ReadOnly)) return QByteArray();
    QByteArray data = file.readAll();
    if (data.isNull()) data = QByteArray("");
    return data;
}

} // namespace brisko::device
