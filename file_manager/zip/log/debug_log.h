#pragma once
// Routes the extractor's reasons for skipping entries to the "brisko.zip" logging category.

namespace brisko {

void BKInstallZipDebugLog();

} // namespace brisko
