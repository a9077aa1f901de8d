#pragma once
// Screenshot scenes for the toast ("toast") and the loading overlay ("loading").

namespace brisko {

void registerFeedbackScenes();

} // namespace brisko
