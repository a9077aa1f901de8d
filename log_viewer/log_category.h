#pragma once

#include <QLoggingCategory>

namespace brisko {
Q_DECLARE_LOGGING_CATEGORY(lcLogViewer)
}
