#include "kit/ball/FbOverlayWindow.h"

#include "kit/ball/ball_log.h"
#include "kit/geometry.h"
#include "platform/bundle/bundle.h"

#include <QDir>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

#include <xcb/xcb.h>

#include <cmath>

Q_LOGGING_CATEGORY(lcBall, "brisko.ball")

namespace brisko {

namespace {

// The sharpest of the drawn sizes that is not smaller than the screen needs.
QImage loadIcon(double scale) {
    QString dir = qEnvironmentVariable("BRISKO_BUNDLE_DIR");
    if (dir.isEmpty()) dir = bundle::bundlePath();
    const QString name = scale > 2 ? QStringLiteral("floaticon@3x.png") : QStringLiteral("floaticon@2x.png");
    for (const QString& file : {name, QStringLiteral("floaticon.png")}) {
        QImage image(QDir(dir).filePath(file));
        if (!image.isNull()) return image;
    }
    qCDebug(lcBall) << "no floaticon in" << dir << "- the icon stays white";
    return QImage();
}

QRectF disc(QPointF centre, double radius) {
    return QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius);
}

xcb_connection_t* xcbConnection() {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

} // namespace

FbOverlayWindow::FbOverlayWindow(QScreen* screen) {
    setScreen(screen);
    setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
             Qt::X11BypassWindowManagerHint | Qt::Tool);
    icon_ = loadIcon(screen ? screen->devicePixelRatio() : 1);
    watchStacking();
}

FbOverlayWindow::~FbOverlayWindow() {
    qGuiApp->removeNativeEventFilter(this);
}

void FbOverlayWindow::applyLayout(const FbLayout& layout) {
    layout_ = layout;
    const QRectF root = layout.root.translated(screen() ? screen()->geometry().topLeft() : QPoint());
    const QRect frame(QPoint(int(std::floor(root.left())), int(std::floor(root.top()))),
                      QPoint(int(std::ceil(root.right())) - 1, int(std::ceil(root.bottom())) - 1));
    origin_ = root.topLeft() - QPointF(frame.topLeft());
    const double r = layout.root.height() / 2;
    QRegion shape(disc(origin_ + layout.ballCentre, r).toAlignedRect(), QRegion::Ellipse);
    if (layout.buttonOpacity > 0)
        for (const QPointF& centre : layout.buttonCentres)
            shape += QRegion(disc(origin_ + centre, r).toAlignedRect(), QRegion::Ellipse);
    if (frame != geometry()) setGeometry(frame);
    if (shape != mask()) setMask(shape);
    // Seen only where a compositor runs; without one the ball is drawn opaque.
    if (!qFuzzyCompare(opacity(), layout.ballOpacity)) setOpacity(layout.ballOpacity);
    update();
}

void FbOverlayWindow::applyColors(const FbColors& colors) {
    colors_ = colors;
    update();
}

void FbOverlayWindow::raiseIfCovered() {
    if (!covered_) return;
    covered_ = false;
    // QWindow::raise leaves an override-redirect window where it is.
    if (xcb_connection_t* connection = xcbConnection()) {
        const uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(connection, xcb_window_t(winId()), XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_flush(connection);
    }
}

void FbOverlayWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(QRect(QPoint(), size()), Qt::transparent);
    painter.translate(origin_);
    if (layout_.buttonOpacity > 0)
        for (int i = 2; i >= 0; --i)
            paintButton(painter, i);
    paintBall(painter);
}

void FbOverlayWindow::paintButton(QPainter& painter, int index) {
    const double r = layout_.root.height() / 2;
    const QPointF centre = layout_.buttonCentres[size_t(index)];
    painter.setOpacity(layout_.buttonOpacity);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors_.buttons[size_t(index)]);
    painter.drawEllipse(disc(centre, r + 1)); // past the shape, so its edge shows no dark fringe
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(std::max(1, int(std::lround(0.7 * r))));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(centre.x() - r, centre.y() - 0.45 * r, 2 * r, 0.9 * r), Qt::AlignCenter,
                     colors_.glyphs[size_t(index)]);
    painter.setOpacity(1);
}

void FbOverlayWindow::paintBall(QPainter& painter) {
    const double r = layout_.root.height() / 2;
    const QPointF centre = layout_.ballCentre;
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors_.ball);
    painter.drawEllipse(disc(centre, r + 1)); // past the shape, so its edge shows no dark fringe
    const QRectF iconRect = disc(centre, 0.8 * r);
    QPainterPath clip;
    clip.addEllipse(iconRect);
    painter.setClipPath(clip);
    if (icon_.isNull())
        painter.fillRect(iconRect, Qt::white);
    else
        painter.drawImage(iconRect, icon_);
    painter.setClipping(false);
}

void FbOverlayWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) feedMouse(0, event);
}

void FbOverlayWindow::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) feedMouse(1, event);
}

void FbOverlayWindow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) feedMouse(2, event);
}

void FbOverlayWindow::feedMouse(int phase, QMouseEvent* event) {
    const QPointF logical = event->globalPosition() - (screen() ? screen()->geometry().topLeft() : QPoint());
    double nx = 0, ny = 0;
    if (!_logicalToPhysNorm(&nx, &ny, logical.x(), logical.y())) return;
    event->accept();
    _fbHandleTouch(phase, nx, ny);
}

// Without a window manager nothing keeps an override-redirect window on top: watch the root's
// children and raise again when one of them is mapped or restacked.
void FbOverlayWindow::watchStacking() {
    xcb_connection_t* connection = xcbConnection();
    if (!connection) return;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_get_window_attributes_reply_t* attributes =
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, root), nullptr);
    if (!attributes) {
        qCDebug(lcBall) << "cannot read the root window's event mask; the ball is not re-raised";
        return;
    }
    const uint32_t mask = attributes->your_event_mask | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    free(attributes);
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection);
    qGuiApp->installNativeEventFilter(this);
}

bool FbOverlayWindow::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t" || !isVisible()) return false;
    const auto* event = static_cast<xcb_generic_event_t*>(message);
    const uint8_t type = event->response_type & 0x7F;
    xcb_window_t other = XCB_NONE;
    if (type == XCB_MAP_NOTIFY)
        other = reinterpret_cast<const xcb_map_notify_event_t*>(event)->window;
    else if (type == XCB_CONFIGURE_NOTIFY)
        other = reinterpret_cast<const xcb_configure_notify_event_t*>(event)->window;
    if (other != XCB_NONE && other != xcb_window_t(winId())) covered_ = true;
    return false;
}

} // namespace brisko
