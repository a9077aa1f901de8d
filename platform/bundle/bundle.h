#pragma once
// The application bundle (the folder holding the executable) and the standard per-user folders.

#include <QString>
#include <QVariantMap>

namespace brisko::bundle {

// Folder that holds the running executable, unless a test set another one.
QString bundlePath();
void setBundlePathForTesting(const QString& path); // empty restores the real one

// Top-level keys of bundlePath()/Info.plist (strings, numbers, booleans); empty when unreadable.
QVariantMap infoDictionary();
QString infoString(const QString& key);
QString bundleIdentifier();

// Per-user application data: Application Support, and Documents inside it.
QString applicationSupportDirectory();
QString documentsDirectory();

// Isolates the standard folders under ~/.qttest (QStandardPaths test mode).
void enableTestMode();

} // namespace brisko::bundle
