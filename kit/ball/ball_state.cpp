#include "kit/ball/ball_state.h"

#include "kit/geometry.h"

#include <algorithm>
#include <cmath>

namespace brisko {

FbState _fb;
bool _fbActive = false;
std::function<void(const QString&)> _fbCb;
FbView* _fbView = nullptr;

namespace {

constexpr double kBallRadius = 16;
constexpr double kGrabSlack = 12;
constexpr double kButtonSlack = 8;
constexpr double kFanOpenThreshold = 0.8;
constexpr double kTapLimit = 10;
constexpr double kButtonSpacing = 40;
constexpr double kTopMargin = 50;
constexpr double kBottomMargin = 30;
constexpr double kEdgeOverhang = 7;
constexpr double kSnapStep = 0.06;
constexpr double kOpenStep = 0.08;
constexpr double kCloseStep = 0.1;

double leftDock(const FbMotion& s) {
    return s.radius - kEdgeOverhang;
}

double rightDock(const FbMotion& s) {
    return s.screenW - s.radius + kEdgeOverhang;
}

double buttonCentreX(const FbMotion& s, int index, double spread) {
    const double offset = kButtonSpacing * spread * (index + 1);
    return s.dockRight ? s.x - offset : s.x + offset;
}

void notify(const char* word) {
    // A copy: the owner may hide the ball, and drop this callback, from inside it.
    const auto callback = _fbCb;
    if (callback) callback(QString::fromLatin1(word));
}

bool fanOpen() {
    return _fb.expanded && _fb.expandProgress > kFanOpenThreshold;
}

void began(double tx, double ty) {
    if (fanOpen()) {
        for (int i = 0; i < 3; ++i) {
            if (std::hypot(tx - buttonCentreX(_fb, i, 1), ty - _fb.y) < _fb.radius + kButtonSlack) {
                _fbBtnAction(i);
                return;
            }
        }
        _fb.expanded = false;
        return;
    }
    if (std::hypot(tx - _fb.x, ty - _fb.y) >= _fb.radius + kGrabSlack) return;
    _fb.dragging = true;
    _fb.grabDX = tx - _fb.x;
    _fb.grabDY = ty - _fb.y;
    _fb.downX = tx;
    _fb.downY = ty;
}

void moved(double tx, double ty) {
    _fb.x = std::max(tx - _fb.grabDX, leftDock(_fb));
    _fb.x = std::min(_fb.x, rightDock(_fb));
    // Bottom last: on a screen too short for both limits it wins.
    _fb.y = std::max(ty - _fb.grabDY, _fb.radius + kTopMargin);
    _fb.y = std::min(_fb.y, _fb.screenH - _fb.radius - kBottomMargin);
    _fbLayout();
}

void ended(double tx, double ty) {
    _fb.dragging = false;
    const bool right = _fb.x > _fb.screenW / 2;
    if (std::hypot(tx - _fb.downX, ty - _fb.downY) >= kTapLimit) {
        _fb.snapping = true;
        _fb.snapT = 0;
        _fb.snapFromX = _fb.x;
        _fb.dockRight = right;
        _fb.snapToX = right ? rightDock(_fb) : leftDock(_fb);
        return;
    }
    _fb.dockRight = right;
    _fb.x = right ? rightDock(_fb) : leftDock(_fb);
    _fb.expanded = !_fb.expanded;
    _fbLayout();
}

} // namespace

double _fbEaseOutCubic(double t) {
    const double u = t - 1;
    return u * u * u + 1;
}

double _fbEaseOutBounce(double t) {
    constexpr double n = 7.5625, d = 2.75;
    if (t < 1 / d) return n * t * t;
    if (t < 2 / d) {
        t -= 1.5 / d;
        return n * t * t + 0.75;
    }
    if (t < 2.5 / d) {
        t -= 2.25 / d;
        return n * t * t + 0.9375;
    }
    t -= 2.625 / d;
    return n * t * t + 0.984375;
}

FbLayout _fbLayoutFor(const FbMotion& s) {
    const double r = s.radius, e = _fbEaseOutCubic(s.expandProgress), fan = 120 * e;
    const double width = fan >= 1 ? 2 * r + fan : 2 * r;
    const double left = fan >= 1 && s.dockRight ? s.x - fan - r : s.x - r;
    FbLayout layout;
    layout.root = QRectF(left, s.y - r, width, 2 * r);
    layout.ballCentre = QPointF(s.x - left, r);
    layout.ballOpacity = float(0.7 + 0.3 * e);
    for (int i = 0; i < 3; ++i)
        layout.buttonCentres[size_t(i)] = QPointF(buttonCentreX(s, i, e) - left, r);
    layout.buttonOpacity = e;
    return layout;
}

FbColors _fbColorsFor(bool running, bool paused) {
    const QColor blue = QColor::fromRgbF(0.251f, 0.647f, 0.953f);
    FbColors colors;
    colors.ball =
        running ? QColor::fromRgbF(0.298f, 0.686f, 0.314f) : QColor::fromRgbF(0.804f, 0.804f, 0.804f);
    colors.buttons[0] = QColor::fromRgbF(0.984f, 0.847f, 0.204f);
    colors.glyphs[0] = QStringLiteral("✕");
    colors.buttons[1] = paused ? blue : QColor::fromRgbF(0.749f, 0.757f, 0.753f);
    colors.glyphs[1] = paused ? QStringLiteral("↻") : QStringLiteral("||");
    colors.buttons[2] = running ? QColor::fromRgbF(0.933f, 0.325f, 0.31f) : blue;
    colors.glyphs[2] = running ? QStringLiteral("■") : QStringLiteral("▶");
    return colors;
}

void _fbResetFor(double screenW, double screenH) {
    static_cast<FbMotion&>(_fb) = FbMotion{};
    _fb.running = false;
    _fb.paused = false;
    _fb.screenW = screenW;
    _fb.screenH = screenH;
    _fb.radius = kBallRadius;
    _fb.x = rightDock(_fb);
    _fb.y = 0.4 * screenH;
    _fb.dockRight = true;
}

void _fbLayout() {
    if (_fbView) _fbView->applyLayout(_fbLayoutFor(_fb));
}

void _fbSyncColors() {
    if (_fbView) _fbView->applyColors(_fbColorsFor(_fb.running, _fb.paused));
}

void _fbHandleTouch(int64_t phase, double nx, double ny) {
    if (!_fbActive) return;
    double tx = 0, ty = 0;
    _physNormToLogical(&tx, &ty, nx, ny);
    if (phase == 0)
        began(tx, ty);
    else if (phase == 1 && _fb.dragging)
        moved(tx, ty);
    else if (phase == 2 && _fb.dragging)
        ended(tx, ty);
}

void _fbTick() {
    bool changed = false;
    if (_fb.snapping) {
        _fb.snapT += kSnapStep;
        if (_fb.snapT < 1) {
            _fb.x = _fb.snapFromX + _fbEaseOutBounce(_fb.snapT) * (_fb.snapToX - _fb.snapFromX);
        } else {
            _fb.snapT = 1;
            _fb.snapping = false;
            _fb.x = _fb.snapToX;
        }
        changed = true;
    }
    if (_fb.expanded && _fb.expandProgress < 1) {
        _fb.expandProgress = std::min(_fb.expandProgress + kOpenStep, 1.0);
        changed = true;
    } else if (!_fb.expanded && _fb.expandProgress > 0) {
        _fb.expandProgress = std::max(_fb.expandProgress - kCloseStep, 0.0);
        changed = true;
    }
    if (changed) _fbLayout();
}

void _fbBtnAction(int32_t index) {
    _fb.expanded = false;
    if (index == 0) {
        notify("close");
    } else if (index == 1) {
        if (!_fb.running) return;
        const bool paused = !_fb.paused;
        _fb.paused = paused;
        _fbSyncColors();
        notify(paused ? "pause" : "resume");
    } else if (index == 2) {
        const bool running = !_fb.running;
        _fb.running = running;
        if (!running) _fb.paused = false;
        _fbSyncColors();
        notify(running ? "start" : "stop");
    }
}

void _applyOverlayRotation(double* logicalWidth, double* logicalHeight) {
    // The display server turns the picture; only the logical frame's shape follows the quad.
    const QSizeF portrait = s_screenPointSize;
    const bool sideways = s_rotationQuad.load() % 2 != 0;
    if (logicalWidth) *logicalWidth = sideways ? portrait.height() : portrait.width();
    if (logicalHeight) *logicalHeight = sideways ? portrait.width() : portrait.height();
}

void _fbUpdateRotation() {
    if (!_fbActive) return;
    const double r = _fb.radius, top = r + kTopMargin, bottom = r + kBottomMargin;
    const double span = _fb.screenH - top - bottom;
    const double t = span > 0 ? std::clamp((_fb.y - top) / span, 0.0, 1.0) : 0.5;
    _applyOverlayRotation(&_fb.screenW, &_fb.screenH);
    _fbDock(_fb.dockRight);
    _fb.y = top + t * (_fb.screenH - top - bottom);
    _fbLayout();
}

void _fbDock(bool right) {
    _fb.snapping = false;
    _fb.expanded = false;
    _fb.expandProgress = 0;
    _fb.dockRight = right;
    _fb.x = right ? rightDock(_fb) : leftDock(_fb);
}

} // namespace brisko
