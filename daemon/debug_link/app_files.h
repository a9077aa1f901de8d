#pragma once
// Single files pushed into DOCUMENTS/app. The path a client names is resolved one component at
// a time under the app folder: "..", encoded or not, absolute paths and links never lead out.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <sys/types.h>

namespace brisko::daemon {

// The components of a percent-encoded relative path; nothing when one of them is empty, ".",
// "..", or holds a "/" or NUL once decoded.
std::optional<QList<QByteArray>> splitUploadPath(const QByteArray& encoded);

// Writes the file atomically (temporary file, then rename over the old one), creating folders on
// the way. Returns the reason when it cannot, as the client should read it; empty on success.
QString writeAppFile(const QString& documents, const QList<QByteArray>& components, const QByteArray& data,
                     bool executable);

// The owner of DOCUMENTS, who owns what the daemon writes for the script when it runs as root.
struct DocumentsOwner {
    uid_t uid = 0;
    gid_t gid = 0;
};
DocumentsOwner documentsOwner(const QString& documents);
// Opens (creating when missing) DOCUMENTS/app as a folder; -1 when it is not one.
int openAppFolder(const QString& documents);

} // namespace brisko::daemon
