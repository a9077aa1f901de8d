#include "hotspot.h"

namespace brisko::hotspot {
namespace {
std::optional<Registration>& registration() {
    static std::optional<Registration> current;
    return current;
}
} // namespace

bool registerHelper(const QVariantMap& options, CommandHandler handler) {
    registration() = Registration{options, std::move(handler)};
    return true;
}

std::optional<Registration> currentRegistration() {
    return registration();
}

} // namespace brisko::hotspot
