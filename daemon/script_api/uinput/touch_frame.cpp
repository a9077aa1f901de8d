#include "touch_frame.h"

#include "kit/geometry.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cmath>

namespace brisko::scriptapi {
namespace {

constexpr int kMaxAxis = 1 << 16; // larger than any screen; keeps the arithmetic in int

QByteArray firstLine(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readLine(256).trimmed();
}

QSize connectedDisplayMode(const QString& drmRoot) {
    const QDir root(drmRoot);
    for (const QString& connector : root.entryList({QStringLiteral("card*-*")}, QDir::Dirs, QDir::Name)) {
        if (firstLine(root.filePath(connector + QLatin1String("/status"))) != "connected") continue;
        const QSize mode = parseDisplayMode(firstLine(root.filePath(connector + QLatin1String("/modes"))));
        if (!mode.isEmpty()) return mode;
    }
    return {};
}

int axisValue(double fraction, int extent) {
    return int(std::lround(fraction * (extent - 1)));
}

} // namespace

QSize parseDisplayMode(const QByteArray& line) {
    static const QRegularExpression mode(QStringLiteral("^(\\d{1,6})x(\\d{1,6})"));
    const QRegularExpressionMatch match = mode.match(QString::fromLatin1(line));
    if (!match.hasMatch()) return {};
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (size.width() > kMaxAxis || size.height() > kMaxAxis) return {};
    return size;
}

TouchFrame currentTouchFrame(const QString& drmRoot) {
    const QSize portrait = s_screenPointSize.toSize();
    if (!portrait.isEmpty()) {
        const bool landscape = s_captureBaseLandscape;
        return {landscape ? portrait.transposed() : portrait, true, landscape};
    }
    return {connectedDisplayMode(drmRoot), false, false};
}

std::optional<QPoint> axisValuesFor(const TouchFrame& frame, QPointF points) {
    if (frame.axes.isEmpty()) return std::nullopt;
    double u = points.x() / frame.axes.width(), v = points.y() / frame.axes.height();
    if (frame.followsKit) {
        double portraitX, portraitY;
        if (!_logicalToPhysNorm(&portraitX, &portraitY, points.x(), points.y())) return std::nullopt;
        // A wide panel is the portrait one on its side.
        u = frame.landscapePanel ? portraitY : portraitX;
        v = frame.landscapePanel ? 1 - portraitX : portraitY;
    }
    if (!(u >= 0 && u <= 1 && v >= 0 && v <= 1)) return std::nullopt; // NaN too
    return QPoint(axisValue(u, frame.axes.width()), axisValue(v, frame.axes.height()));
}

} // namespace brisko::scriptapi
