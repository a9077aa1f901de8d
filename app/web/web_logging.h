#pragma once
// The web panel's logging category, brisko.web.

#include <QLoggingCategory>

namespace brisko {
Q_DECLARE_LOGGING_CATEGORY(lcWeb)
} // namespace brisko
