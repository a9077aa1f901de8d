#include "bundle.h"

#include "plist.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace brisko::bundle {
namespace {
QString& testBundlePath() {
    static QString path;
    return path;
}
} // namespace

QString bundlePath() {
    if (!testBundlePath().isEmpty()) return testBundlePath();
    return QCoreApplication::applicationDirPath();
}

void setBundlePathForTesting(const QString& path) {
    testBundlePath() = path;
}

QVariantMap infoDictionary() {
    QFile file(QDir(bundlePath()).filePath(QStringLiteral("Info.plist")));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return parsePropertyList(file.readAll());
}

QString infoString(const QString& key) {
    const QVariant value = infoDictionary().value(key);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

QString bundleIdentifier() {
    return infoString(QStringLiteral("CFBundleIdentifier"));
}

QString applicationSupportDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
}

QString documentsDirectory() {
    const QString base = applicationSupportDirectory();
    if (base.isEmpty()) return {};
    return base + QStringLiteral("/Documents");
}

void enableTestMode() {
    QStandardPaths::setTestModeEnabled(true);
}

} // namespace brisko::bundle
