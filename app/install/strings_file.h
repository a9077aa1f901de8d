#pragma once
// Reads localized property-list strings files (<lang>.lproj/InfoPlist.strings).

#include <QByteArray>
#include <QHash>
#include <QString>

namespace brisko {

// Parses the text form `"key" = "value";` with /* */ and // comments and backslash escapes
// (\n, \t, \", \\, \Uxxxx), in UTF-8 or UTF-16 with a byte-order mark; an XML property list
// is accepted too. Malformed input yields the pairs read before the error.
QHash<QString, QString> parseStringsFile(const QByteArray& data);

} // namespace brisko
