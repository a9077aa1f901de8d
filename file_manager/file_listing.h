#pragma once
// One folder listed into the browser's item records: {"name", "path", "isDir", "detail"},
// folders first, each group in caseless order; hidden names left out.

#include <QString>
#include <QVariantList>

namespace brisko {

QVariantList BKListFolder(const QString& dirPath);

// The key names sort by: Unicode case folding with canonically equivalent sequences equal.
// No numeric order ("a10" before "a9").
QString BKNameSortKey(const QString& name);

} // namespace brisko
