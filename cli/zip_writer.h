#pragma once
// A folder as a ZIP, written as it is read, for pushing a project. Entries are stored, not
// deflated: over a local network the time to compress costs more than the bytes it saves, the
// device unpacks stored entries at disk speed, and the archive's length is known before the
// first file is read, so the upload can start at once.

#include <QByteArray>
#include <QString>

#include <functional>
#include <vector>

namespace brisko::cli {

struct ProjectFile {
    QByteArray name; // relative to the folder, UTF-8
    QByteArray path;
    quint32 size = 0;
    quint32 mode = 0; // permission bits
};

struct ProjectPlan {
    std::vector<ProjectFile> files;
    qint64 archiveBytes = 0;
    QString error; // set when the folder cannot be read or does not fit a plain ZIP
};

// Regular files under `folder`; links and special files are left out.
ProjectPlan planProject(const QString& folder);

// Takes the archive piece by piece; false stops the writing.
using ByteSink = std::function<bool(const char* data, size_t size)>;

inline const QString kSinkStopped = QStringLiteral("the receiver stopped taking the archive");

// Exactly plan.archiveBytes bytes to `sink`, or the reason it stopped (a file changed size or
// could not be read, or kSinkStopped).
QString writeProjectZip(const ProjectPlan& plan, const ByteSink& sink);

struct ZipResult {
    QByteArray archive;
    int files = 0;
    QString error;
};

// The same archive in memory.
ZipResult zipFolder(const QString& folder);

} // namespace brisko::cli
