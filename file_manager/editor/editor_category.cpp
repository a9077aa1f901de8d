#include "editor_category.h"

namespace brisko {
Q_LOGGING_CATEGORY(lcEditor, "brisko.editor")
}
