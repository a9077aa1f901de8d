#pragma once
// Launch time of the application with a given bundle: process start to first rendered frame.

#include <QList>
#include <QString>

namespace brisko::bench {

// Copies the application (and its Info.plist) into bundleRoot, launches it once so the bundle
// is deployed, then `runs` more times; returns the milliseconds of those runs, or nothing when
// the application never reports a frame. `platform` is the Qt platform plugin it runs on.
QList<double> timeToFirstFrame(const QString& application, const QString& bundleRoot, int runs,
                               const QString& platform = QStringLiteral("offscreen"));

} // namespace brisko::bench
