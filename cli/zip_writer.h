#pragma once
// A folder as a ZIP in memory, for pushing a project. Entries are stored, not deflated: over a
// local network the time to compress costs more than the bytes it saves, and the device unpacks
// stored entries at disk speed.

#include <QByteArray>
#include <QString>

namespace brisko::cli {

struct ZipResult {
    QByteArray archive;
    int files = 0;
    QString error; // set when the folder cannot be read or does not fit a plain ZIP
};

// Regular files under `folder`, named relative to it; links and special files are left out.
ZipResult zipFolder(const QString& folder);

} // namespace brisko::cli
