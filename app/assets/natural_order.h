#pragma once
// The order in which a folder's entries are hashed: case-insensitive, runs of digits compared
// by value ("a9" before "a10"), and total, so the same names always come out in the same order.

#include <QByteArray>
#include <QList>
#include <QString>

namespace brisko::assets {

// Sorts native file names (UTF-8, possibly invalid) in that order.
void sortNaturally(QList<QByteArray>& names);

} // namespace brisko::assets
