#pragma once
// The order in which a folder's entries are hashed: case-insensitive, runs of digits compared
// by value ("a9" before "a10"), and total, so the same names always come out in the same order.

#include <QByteArray>
#include <QList>
#include <QString>

namespace brisko::assets {

// Negative, zero or positive like strcmp; zero only for equal strings.
int naturalCompare(const QString& a, const QString& b);

// Sorts native file names (UTF-8, possibly invalid) by naturalCompare of their decoded
// form; names that decode alike fall back to byte order.
void sortNaturally(QList<QByteArray>& names);

} // namespace brisko::assets
