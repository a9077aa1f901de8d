// ball_scene SCENE OUT.png: puts the ball in one state over an ordinary window on the current X
// display and saves the whole screen, as the kit captures it. scripts/ball-screens runs every scene.
#include "ball_driver.h"

#include "kit/BKKit.h"
#include "kit/ball/ball_testing.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

#include <cstdio>

using namespace brisko;
using namespace brisko::testing;

namespace {

// An ordinary application window behind the ball: a title bar and a list.
class Backdrop : public QRasterWindow {
  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(QRect(QPoint(), size()), QColor(0xF2F2F7));
        p.fillRect(QRect(0, 0, width(), 88), QColor(0xFFFFFF));
        QFont font = p.font();
        font.setPixelSize(17);
        font.setBold(true);
        p.setFont(font);
        p.drawText(QRect(0, 44, width(), 44), Qt::AlignCenter, QStringLiteral("Notes"));
        font.setBold(false);
        p.setFont(font);
        for (int row = 0; row * 44 + 120 < height(); ++row) {
            const QRect cell(16, 120 + row * 44, width() - 32, 43);
            p.fillRect(cell, Qt::white);
            p.setPen(QColor(0x3C3C43));
            p.drawText(cell.adjusted(12, 0, 0, 0), Qt::AlignVCenter, QStringLiteral("Item %1").arg(row + 1));
        }
    }
};

void settle(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

bool applyScene(const QString& scene) {
    if (scene == "docked-right") return true;
    if (scene == "running-paused") {
        BKKit::setFloatingBallRunning(true);
        BKKit::setFloatingBallPaused(true);
    } else if (scene == "fan-running") {
        BKKit::setFloatingBallRunning(true);
    } else if (scene == "docked-left-after-drag") {
        touch(0, QPointF(_fb.x, _fb.y));
        touch(1, QPointF(100, 0.6 * _fb.screenH));
        touch(2, QPointF(100, 0.6 * _fb.screenH));
        ticks(17);
        return true;
    } else if (scene != "fan-stopped" && scene != "landscape") {
        return false;
    }
    settle(50);
    openFan();
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: ball_scene SCENE OUT.png\n");
        return 2;
    }
    Backdrop backdrop;
    backdrop.setFlags(Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
    backdrop.setGeometry(QGuiApplication::primaryScreen()->geometry());
    backdrop.show();
    _fbUseManualTickForTesting(true);
    BKKit::showFloatingBallWithCallback([](const QString& word) { std::printf("%s\n", qPrintable(word)); });
    if (!applyScene(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "unknown scene %s\n", argv[1]);
        return 2;
    }
    settle(400);
    const QImage shot = BKKit::captureScreen();
    return !shot.isNull() && shot.save(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
}
