#pragma once
// Screenshot scenes of the file browser: a sample Documents folder with every kind of row,
// an empty folder, its menus and dialogs, a row swiped open, the extraction prompt and overlay.

namespace brisko {

void registerFileManagerScenes();

} // namespace brisko
