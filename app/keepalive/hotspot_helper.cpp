#include "hotspot_helper.h"

#include "app/install/display_name.h"
#include "platform/hotspot/hotspot.h"

namespace brisko {

void BKRegisterHotspotHelper() {
    hotspot::registerHelper({{QStringLiteral("DisplayName"), BKApplicationDisplayName()}},
                            [](const hotspot::Command&) {});
}

} // namespace brisko
