#include "display_name.h"

#include "strings_file.h"

#include "platform/bundle/bundle.h"

#include <QDir>
#include <QFile>
#include <QLocale>

namespace brisko {
namespace {

// "zh-Hans-CN" gives zh-Hans-CN, zh_Hans_CN, zh-Hans, zh_Hans, zh.
QStringList lprojNamesFor(const QString& language) {
    QStringList names;
    QStringList parts = language.split(u'-', Qt::SkipEmptyParts);
    while (!parts.isEmpty()) {
        names << parts.join(u'-') << parts.join(u'_');
        parts.removeLast();
    }
    names.removeDuplicates();
    return names;
}

QStringList localizationFolders() {
    QStringList folders;
    for (const QString& language : QLocale().uiLanguages())
        folders << lprojNamesFor(language);
    folders << QStringLiteral("Base");
    folders.removeDuplicates();
    return folders;
}

QString localizedInfoString(const QString& key) {
    const QDir bundle(bundle::bundlePath());
    for (const QString& folder : localizationFolders()) {
        QFile file(bundle.filePath(folder + QStringLiteral(".lproj/InfoPlist.strings")));
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QString value = parseStringsFile(file.readAll()).value(key);
        if (!value.isEmpty()) return value;
    }
    return {};
}

QString infoValue(const QString& key) {
    const QString localized = localizedInfoString(key);
    return localized.isEmpty() ? bundle::infoString(key) : localized;
}

} // namespace

QString BKApplicationDisplayName() {
    QString name = infoValue(QStringLiteral("CFBundleDisplayName"));
    if (name.isEmpty()) name = infoValue(QStringLiteral("CFBundleName"));
    return name.isEmpty() ? QStringLiteral("Brisko") : name;
}

} // namespace brisko
