#pragma once
// Whether the application runs from a system-wide, privileged application folder.

#include <QString>

namespace brisko {

// True when the path, its symbolic-link-resolved form or its standardized form lies in one of
// the privileged application folders (/Applications/, /var/jb/Applications/, a procursus tree
// under /private/preboot/, or /opt/).
bool BKPathLooksLikeJailbreakInstall(const QString& path);

// Tests the bundle folder, then the folder of the executable. Computed afresh on every call.
bool BKIsJailbreakInstalledApp();

} // namespace brisko
