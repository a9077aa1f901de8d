#include "RuntimeStatusNotifier.h"

namespace brisko {

RuntimeStatusNotifier* RuntimeStatusNotifier::instance() {
    static RuntimeStatusNotifier notifier;
    return &notifier;
}

} // namespace brisko
