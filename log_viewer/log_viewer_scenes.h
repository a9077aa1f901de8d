#pragma once
// Screenshot scenes of the log viewer: a long log at its end, an empty log, a find, the copy toast.

namespace brisko {

void registerLogViewerScenes();

} // namespace brisko
