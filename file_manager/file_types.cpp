#include "file_types.h"

#include <QSet>

namespace brisko {
namespace {

// Up to three extensions; unused slots stay null.
struct Rule {
    const char* extensions[3];
    const char* value;
};

bool isOneOf(const QString& extension, const char* const (&set)[3]) {
    for (const char* candidate : set)
        if (candidate && extension == QLatin1String(candidate)) return true;
    return false;
}

} // namespace

QString BKPathExtension(const QString& name) {
    const qsizetype slash = name.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot < 0 || dot < slash) return {};
    return name.mid(dot + 1).toLower();
}

bool BKIsImagePath(const QString& name) {
    const QString extension = BKPathExtension(name);
    return extension == QLatin1String("png") || extension == QLatin1String("jpg") ||
           extension == QLatin1String("jpeg") || extension == QLatin1String("bmp");
}

bool BKIsEditable(const QString& extension) {
    static const QSet<QString> editable = {
        QStringLiteral("txt"),  QStringLiteral("go"),   QStringLiteral("yml"),  QStringLiteral("yaml"),
        QStringLiteral("ini"),  QStringLiteral("conf"), QStringLiteral("json"), QStringLiteral("xml"),
        QStringLiteral("md"),   QStringLiteral("log"),  QStringLiteral("sh"),   QStringLiteral("py"),
        QStringLiteral("js"),   QStringLiteral("css"),  QStringLiteral("html"), QStringLiteral("toml"),
        QStringLiteral("plist")};
    return editable.contains(extension.toLower());
}

QString BKFileIcon(const QString& name, bool isDir) {
    if (isDir) return QStringLiteral("folder.fill");
    const QString extension = BKPathExtension(name);
    static const Rule rules[] = {
        {{"go"}, "chevron.left.forwardslash.chevron.right"},
        {{"json"}, "curlybraces"},
        {{"yml", "yaml"}, "list.bullet.indent"},
        {{"ini", "conf"}, "gearshape"},
        {{"zip"}, "doc.zipper"},
        {{"log"}, "doc.text.magnifyingglass"},
        {{"png", "jpg", "jpeg"}, "photo"},
    };
    for (const Rule& rule : rules)
        if (isOneOf(extension, rule.extensions)) return QString::fromLatin1(rule.value);
    return BKIsEditable(extension) ? QStringLiteral("doc.text") : QStringLiteral("doc");
}

QString BKFileColor(const QString& name, bool isDir) {
    if (isDir) return QStringLiteral("systemBlue");
    const QString extension = BKPathExtension(name);
    static const Rule rules[] = {
        {{"go"}, "systemCyan"},   {{"json"}, "systemYellow"}, {{"yml", "yaml"}, "systemPurple"},
        {{"log"}, "systemGreen"}, {{"zip"}, "systemOrange"},
    };
    for (const Rule& rule : rules)
        if (isOneOf(extension, rule.extensions)) return QString::fromLatin1(rule.value);
    return QStringLiteral("systemGray");
}

} // namespace brisko
