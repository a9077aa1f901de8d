#pragma once
// The frame a virtual touchscreen reports in, and where a script's logical points land in it.
// A real touchscreen reports in its panel's own axes and the display turns them; this one does
// the same, so the kit's touch decoder reads it back as it reads a real panel.

#include <QByteArray>
#include <QPoint>
#include <QSize>
#include <QString>

#include <optional>

namespace brisko::scriptapi {

struct TouchFrame {
    QSize axes;              // extent of the device's X and Y axes, in points; empty when unknown
    bool followsKit = false; // turns with the kit's rotation and panel shape
    bool landscapePanel = false;
};

// The kit's screen when it knows one; else the first connected display's current mode under
// drmRoot, its pixels taken as points (nothing there says the scale).
TouchFrame currentTouchFrame(const QString& drmRoot = QStringLiteral("/sys/class/drm"));

// A line of a connector's sysfs "modes" ("1920x1080") → its size; empty when it is not one.
QSize parseDisplayMode(const QByteArray& line);

// Axis values for a point of the screen as it is turned now; nullopt off the screen.
std::optional<QPoint> axisValuesFor(const TouchFrame& frame, QPointF points);

} // namespace brisko::scriptapi
