#pragma once
// The ball on an X11 screen: a frameless, override-redirect window above all others that never
// takes focus, sized to the ball and its fan and shaped to them, so clicks beside the ball reach
// the windows below. The mouse drives it like a finger.

#include "kit/ball/ball_state.h"

#include <QAbstractNativeEventFilter>
#include <QImage>
#include <QRasterWindow>

namespace brisko {

class FbOverlayWindow : public QRasterWindow, public FbView, private QAbstractNativeEventFilter {
    Q_OBJECT

  public:
    explicit FbOverlayWindow(QScreen* screen);
    ~FbOverlayWindow() override;

    void applyLayout(const FbLayout& layout) override;
    void applyColors(const FbColors& colors) override;
    // Puts the window back on top if another window went over it since the last call.
    void raiseIfCovered();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void watchStacking();
    void feedMouse(int phase, QMouseEvent* event);
    void paintButton(QPainter& painter, int index);
    void paintBall(QPainter& painter);

    FbLayout layout_;
    FbColors colors_;
    QImage icon_;
    QPointF origin_; // the layout's root corner inside the window
    bool covered_ = false;
};

} // namespace brisko
