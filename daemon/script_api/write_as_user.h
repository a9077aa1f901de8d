#pragma once
// Files a script asks the daemon to write: the daemon may be root, the script is not, so the
// file is written with the script's own file-system identity and lands only where it could.

#include <QByteArray>
#include <QString>

#include <sys/types.h>

#include <vector>

namespace brisko::scriptapi {

struct ScriptIdentity {
    bool switchIdentity = false; // only a root daemon can and must
    uid_t uid = 0;
    gid_t gid = 0;
    std::vector<gid_t> groups;
};

// Replaces path atomically (a temporary file beside it, then rename), with the identity's
// permissions; a failure leaves any old file as it was. Empty on success, else the reason.
QString writeFileAs(const ScriptIdentity& identity, const QString& path, const QByteArray& bytes);

} // namespace brisko::scriptapi
