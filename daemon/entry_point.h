#pragma once
// Which program runs the user's script, found in DOCUMENTS/app.

#include <QString>
#include <QStringList>

namespace brisko::daemon {

struct EntryPoint {
    QString program;       // absolute path to exec
    QStringList arguments; // after argv[0]
    QString description;   // for the log's begin line, e.g. "lua5.4 main.lua"
    QString error;         // set when nothing can run; shown to the user as it stands
};

// The search path of the daemon, or the usual system one when it was started without PATH.
QStringList executableSearchPath();

// DOCUMENTS/app/main when executable, else the first of main.lua, main.py, main.sh, main.js
// with its interpreter from searchPath.
EntryPoint findEntryPoint(const QString& documents, const QStringList& searchPath);

} // namespace brisko::daemon
