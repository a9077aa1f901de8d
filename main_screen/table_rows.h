#pragma once
// How the main screen's table draws its model: header sizes, cell styles, accessories, tints.

#include <QString>
#include <QVariantList>

namespace brisko {

// One entry per section: {"title", "showsHeader", "headerHeight", "rows"}; each row
// {"l", "v", "i", "tint", "style" ("subtitle" | "value"), "accessory" ("switch" | "disclosure" |
// "none"), "switchOn", "switchEnabled", "selectable"}.
QVariantList BKTableSections(const QVariantList& sections);

// 40 points for the first section, 26 for the others.
double BKHeaderHeight(int section);

// The colour map's name for a row's "c": one of its eight names, else "systemBlue".
QString BKTintName(const QString& colorName);

} // namespace brisko
