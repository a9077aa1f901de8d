#pragma once
// Reading and writing a text file for the editor: UTF-8 only, and never a half-written file.

#include <QString>

namespace brisko {

struct TextFileContents {
    enum class Status { Loaded, Unreadable, NotUtf8 };
    Status status = Status::Unreadable;
    QString text;
};

// A missing file is Unreadable; bytes that are not UTF-8 give NotUtf8 and no text.
TextFileContents loadTextFile(const QString& path);

// Writes text as UTF-8 through a temporary file that then replaces path (created if missing),
// keeping the permissions of the file it replaces. Returns the system's description of the
// failure, or an empty string.
QString saveTextFile(const QString& path, const QString& text);

} // namespace brisko
