#pragma once
// The floating ball's model: one state record, the gestures and animation that change it, and
// the layout and colours derived from it. Main thread only, except the two script-state flags.

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <array>
#include <atomic>
#include <functional>

namespace brisko {

// Everything but the script state, so a show can zero it in one assignment.
struct FbMotion {
    double x = 0, y = 0; // ball centre, logical points of the current orientation
    double radius = 0;
    double screenW = 0, screenH = 0;
    bool dragging = false;
    double grabDX = 0, grabDY = 0;
    double downX = 0, downY = 0;
    bool expanded = false;
    double expandProgress = 0;
    bool dockRight = false;
    bool snapping = false;
    double snapT = 0;
    double snapFromX = 0, snapToX = 0;
};

// The setters may write the script state from any thread.
struct FbState : FbMotion {
    std::atomic<bool> running{false};
    std::atomic<bool> paused{false};
};

extern FbState _fb;
extern bool _fbActive;
extern std::function<void(const QString&)> _fbCb;

// What the drawing needs, in logical points; centres are relative to the root frame.
struct FbLayout {
    QRectF root;
    QPointF ballCentre;
    double ballOpacity = 0;
    std::array<QPointF, 3> buttonCentres;
    double buttonOpacity = 0;
};

struct FbColors {
    QColor ball;
    std::array<QColor, 3> buttons;
    std::array<QString, 3> glyphs;
};

// Receives the derived layout and colours; the overlay window is one.
class FbView {
  public:
    virtual ~FbView() = default;
    virtual void applyLayout(const FbLayout& layout) = 0;
    virtual void applyColors(const FbColors& colors) = 0;
};
extern FbView* _fbView;

double _fbEaseOutCubic(double t);
double _fbEaseOutBounce(double t);

FbLayout _fbLayoutFor(const FbMotion& state);
FbColors _fbColorsFor(bool running, bool paused);

// Zeroes the record and docks the ball at the right edge, 40 % down a screen of this size.
void _fbResetFor(double screenW, double screenH);
void _fbLayout();
void _fbSyncColors();
void _fbHandleTouch(int64_t phase, double nx, double ny);
void _fbTick();
void _fbBtnAction(int32_t index);
// Closes the fan, stops a snap and puts the ball at one edge.
void _fbDock(bool right);
// The logical screen size for the current rotation quad.
void _applyOverlayRotation(double* logicalWidth, double* logicalHeight);
// Keeps the side and the relative height across a rotation; closes the fan.
void _fbUpdateRotation();

} // namespace brisko
