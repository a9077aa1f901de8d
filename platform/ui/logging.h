#pragma once
// The UI layer's logging category: views that fail to load, alerts with nowhere to go.

#include <QLoggingCategory>

namespace brisko::ui {
Q_DECLARE_LOGGING_CATEGORY(lcUi)
} // namespace brisko::ui
