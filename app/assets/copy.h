#pragma once
// Copies that replace their target only once the new copy is complete, so a failed copy
// leaves the previous version in place.

#include <QByteArray>

namespace brisko::assets {

// Replaces whatever is at destination (file, folder or link) with a copy of source. Links in
// source are followed; a link back to a folder being copied is left out. False, with
// destination untouched, when any part of the copy failed.
bool replaceWithCopy(const QByteArray& source, const QByteArray& destination);

// Same for a single regular file (links followed).
bool replaceFileWithCopy(const QByteArray& source, const QByteArray& destination);

} // namespace brisko::assets
