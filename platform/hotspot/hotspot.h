#pragma once
// Registration as a network hotspot helper. Linux has no system service that asks helpers
// to evaluate or authenticate hotspots, so the registration is only kept in the process and
// nothing ever calls the handler.

#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace brisko::hotspot {

// What a hotspot-helper command would carry (its kind and the network's name).
struct Command {
    QString type;
    QString ssid;
};
using CommandHandler = std::function<void(const Command&)>;

struct Registration {
    QVariantMap options; // "DisplayName": the name the system would show
    CommandHandler handler;
};

// Replaces any earlier registration of the process. Always succeeds.
bool registerHelper(const QVariantMap& options, CommandHandler handler);
std::optional<Registration> currentRegistration();

} // namespace brisko::hotspot
