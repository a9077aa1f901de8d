#pragma once

namespace brisko {

// Registers the application as a hotspot helper under its display name, with a handler that
// ignores every command. On Linux nothing sends such commands (see platform/hotspot).
void BKRegisterHotspotHelper();

} // namespace brisko
