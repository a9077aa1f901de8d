#pragma once
// Reads the top-level dictionary of an XML property list.

#include <QByteArray>
#include <QVariantMap>

namespace brisko::bundle {

// Nested dictionaries and arrays become QVariantMap / QVariantList. Malformed input yields
// what was read before the error.
QVariantMap parsePropertyList(const QByteArray& xml);

} // namespace brisko::bundle
