#pragma once
// What the web engine needs settled before the application object exists.

namespace brisko {

// Call first thing in main, with main's arguments. Links nothing in: the engine's libraries come
// with the panel's QML import at the first show, so a launch that never shows the panel does not
// load them.
void BKInitializeWebEngine(int argc, char** argv);

} // namespace brisko
