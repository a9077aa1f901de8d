#pragma once
// The file manager's debug log: failures the user is never shown.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcFiles)
