#pragma once
// Deploys the bundle's assets, app folder and daemon libraries into Documents once per
// distinct bundle content, recorded by an empty stamp file named after the bundle digest.

#include <QString>

namespace brisko {

// Runs at launch, before any screen exists. Silent: failures leave what they can in place.
void BKPrepareBundledAssetsIfNeeded();

// Application Support/IPA, created on demand; null without an Application Support folder.
QString BKIPAStampDirectory();

// Merges source into destination: same-named files are replaced, files only in destination
// stay, hidden names are skipped. An empty or unreadable source creates nothing.
void BKSyncDirectoryOverwrite(const QString& source, const QString& destination);

} // namespace brisko
