#pragma once
// One daemon per Documents folder: an advisory lock held for the process's life.

#include <QString>

namespace brisko::daemon {

// True when this process now holds the folder's lock (kept until exit).
bool acquireInstanceLock(const QString& documents);

} // namespace brisko::daemon
