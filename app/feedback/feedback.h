#pragma once
// Transient feedback over a screen: toasts and the blocking loading overlay.
// The host is the screen's view (a QQuickItem); its safe area is read from the properties
// safeAreaTop/Bottom/Left/Right of the host or its nearest ancestor that has them.

#include <QString>

class QQuickItem;

namespace brisko {

// The loading overlay's "tag" item property.
inline constexpr int BKLoadingViewTag = 999901;

// A rounded dark label 30 points above the bottom of the host's safe area that fades in,
// stays 1.6 s and fades out, about 2.1 s in all, then removes itself. Never blocks input.
void BKShowToast(QQuickItem* view, const QString& message);

// Covers the whole host, dims it and swallows its input until dismissed. A second call
// replaces the first overlay.
void BKShowLoading(QQuickItem* view, const QString& text);
void BKDismissLoading(QQuickItem* view);

// The overlay BKShowLoading put on host and nobody has dismissed yet, or null.
QQuickItem* BKLoadingOverlayFor(QQuickItem* host);

} // namespace brisko
