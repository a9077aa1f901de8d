#pragma once
// Files under one folder, as a web server may hand them out: every step of the path opened
// relative to the one before without following links, so nothing outside the folder is reached.

#include <QByteArray>
#include <QString>

namespace brisko::web {

inline constexpr qint64 kMaxServedBytes = 64 * 1024 * 1024;

enum class Lookup { Found, Missing, Refused, TooLarge };

struct StaticFile {
    Lookup result = Lookup::Missing;
    QByteArray contents;
    QByteArray contentType;
};

// urlPath: the request's path as sent (percent-encoded); a folder serves its index.html.
StaticFile readStaticFile(const QString& root, const QByteArray& urlPath);

// By extension; octet-stream for anything unknown.
QByteArray contentTypeFor(const QString& fileName);

} // namespace brisko::web
