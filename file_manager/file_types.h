#pragma once
// What a file's kind decides, from the extension of its name alone: the row's symbol and tint,
// whether it shows a thumbnail, whether a tap opens the text editor.

#include <QString>

namespace brisko {

// Text after the last "." of the last path component, lower-cased; empty without a ".".
QString BKPathExtension(const QString& name);

bool BKIsImagePath(const QString& name);
// Takes an extension ("txt", any case), not a name.
bool BKIsEditable(const QString& extension);
// A system symbol name.
QString BKFileIcon(const QString& name, bool isDir);
// A system colour name ("systemBlue").
QString BKFileColor(const QString& name, bool isDir);

} // namespace brisko
