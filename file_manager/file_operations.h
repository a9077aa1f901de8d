#pragma once
// The changes a user makes to a folder. Names travel as QStrings from BKDecodeFileName, so
// entries whose names are not UTF-8 work too.

#include <QString>
#include <QStringList>

namespace brisko {

enum class CreateOutcome { Created, AlreadyExists, Failed };

// Never overwrites. A folder name with "/" creates the missing folders on the way; a file
// name does not.
CreateOutcome BKCreateItem(const QString& dirPath, const QString& name, bool isDir);

// Copies each readable file into the folder under its own name; returns how many arrived. An
// entry already there (file or folder) gives way only once its replacement is complete: the
// copy is made under a temporary name first, so a failed copy keeps the old entry.
int BKImportFiles(const QString& dirPath, const QStringList& sourcePaths);

// Never replaces an existing entry; false when nothing moved.
bool BKRenameItem(const QString& fromPath, const QString& toPath);

// Removes a file, a link (not what it leads to) or a folder with everything in it.
bool BKRemoveItem(const QString& path);

} // namespace brisko
