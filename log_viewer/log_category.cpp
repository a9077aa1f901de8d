#include "log_category.h"

namespace brisko {
Q_LOGGING_CATEGORY(lcLogViewer, "brisko.logviewer")
}
