#pragma once
// A whole project pushed as a ZIP: unpacked beside DOCUMENTS/app and swapped in only when every
// entry came out, so a bomb or a broken archive leaves the old app folder as it was.

#include "daemon/debug_link/upload_body.h"

#include <QString>

namespace brisko::daemon {

// What the archive may declare in total once unpacked; the extractor's own limits (free-space
// floor, entries that inflate past their declared size) stop whatever lies about it.
inline constexpr quint64 kMaxProjectBytes = quint64(1) << 30;
inline constexpr quint64 kMaxProjectEntries = 100000;

// Empty on success, else the reason as the client should read it.
QString replaceAppFolder(const QString& documents, const UploadBody& archive);

} // namespace brisko::daemon
