#pragma once
// Qt WebEngine must be set up before the application object exists.

namespace brisko {

// Call first thing in main. Costs only the set-up: the engine's processes start with the first page.
void BKInitializeWebEngine();

} // namespace brisko
