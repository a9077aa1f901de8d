#pragma once
// Screenshot scenes of the text editor: a Go file, the unsaved-changes question, a binary file.

namespace brisko {

void registerTextEditorScenes();

} // namespace brisko
