#pragma once
// Reads every device value the main screen shows, afresh.

#include "main_screen/main_sections.h"

namespace brisko {

BKDeviceFacts BKReadDeviceFacts();

} // namespace brisko
