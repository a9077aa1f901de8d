// Thumbnails. 1) A 4000 x 3000 JPEG's thumbnail (decoded scaled, orientation applied) against
// `djpeg -scale 1/8` of the same file as a whole process. 2) Scrolling a browser over 500 photos:
// the UI thread's work per frame (the scroll step with its new rows, then the frame from
// afterAnimating to frameSwapped), with the basic render loop so all of it is on this thread.
#include "file_manager/FBFileBrowserViewController.h"
#include "file_manager/thumbnails.h"
#include "platform/ui/engine.h"
#include "run_peer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

QImage photoLike(QSize size, int seed) {
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QRandomGenerator random(seed);
    painter.fillRect(image.rect(), QColor::fromHsv(seed * 37 % 360, 120, 200));
    for (int i = 0; i < 400; ++i) {
        painter.setBrush(QColor::fromRgb(random.generate()));
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QPointF(random.bounded(size.width()), random.bounded(size.height())),
                            random.bounded(size.width() / 8) + 4, random.bounded(size.height() / 8) + 4);
    }
    return image;
}

int decodeBenchmark(const QString& folder) {
    const QString path = folder + QStringLiteral("/big.jpg");
    if (!photoLike(QSize(4000, 3000), 1).save(path, "JPEG", 90)) return 1;
    constexpr int runs = 15;
    QSize got;
    const double ours = brisko::bench::medianMs(runs, [&] { got = brisko::BKDecodeThumbnail(path).size(); });
    bool peerOk = true;
    const double peer = brisko::bench::medianMs(runs, [&] {
        peerOk = brisko::bench::runQuietly(
                     {QStringLiteral("djpeg"), QStringLiteral("-scale"), QStringLiteral("1/8"), path}) &&
                 peerOk;
    });
    if (!peerOk || got != QSize(112, 84)) {
        std::fprintf(stderr, "thumbnail failed: %dx%d, djpeg %s\n", got.width(), got.height(),
                     peerOk ? "ok" : "failed");
        return 1;
    }
    std::printf("4000x3000 JPEG, median of %d runs\n", runs);
    std::printf("ours (BKDecodeThumbnail -> %dx%d): %.2f ms\n", got.width(), got.height(), ours);
    std::printf("peer (djpeg -scale 1/8, whole process): %.2f ms\n", peer);
    std::printf("ratio thumbnail/djpeg: %.2f\n", ours / peer);
    std::fflush(stdout);
    return 0;
}

struct FrameTimes {
    std::vector<double> ms;
    double max() const { return ms.empty() ? 0 : *std::max_element(ms.begin(), ms.end()); }
    double median() const {
        std::vector<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty() ? 0 : sorted[sorted.size() / 2];
    }
};

FrameTimes scrollBenchmark(const QString& folder) {
    for (int i = 0; i < 500; ++i)
        photoLike(QSize(1200, 900), i + 2)
            .save(folder + QStringLiteral("/photo%1.jpg").arg(i, 3, 10, QLatin1Char('0')), "JPEG", 85);
    brisko::FBFileBrowserViewController browser(folder);
    QQuickWindow window;
    window.resize(390, 844);
    QQuickItem* view = browser.view();
    view->setParentItem(window.contentItem());
    view->setSize(window.size());
    window.show();
    auto* list = view->findChild<QQuickItem*>(QStringLiteral("fileList"));
    FrameTimes times;
    QElapsedTimer clock;
    clock.start();
    qint64 frameStart = 0;
    double stepMs = 0;
    const double end = list ? list->property("contentHeight").toDouble() - window.height() : 0;
    QObject::connect(&window, &QQuickWindow::afterAnimating, [&] { frameStart = clock.nsecsElapsed(); });
    QObject::connect(&window, &QQuickWindow::frameSwapped, [&] {
        if (frameStart) times.ms.push_back(stepMs + double(clock.nsecsElapsed() - frameStart) / 1e6);
        const qint64 stepStart = clock.nsecsElapsed();
        const double y = list->property("contentY").toDouble() + 24; // a brisk finger flick per frame
        if (y >= end) {
            QGuiApplication::quit();
            return;
        }
        list->setProperty("contentY", y); // new rows are made here, on this thread
        stepMs = double(clock.nsecsElapsed() - stepStart) / 1e6;
        window.update();
    });
    // A window that never draws (no display) must not hang the run.
    QTimer::singleShot(120000, &window, [] { QGuiApplication::quit(); });
    if (list) QGuiApplication::exec();
    return times;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QSG_RENDER_LOOP", "basic");
    QGuiApplication app(argc, argv);
    brisko::ui::installSystemFont();
    QTemporaryDir dir;
    if (decodeBenchmark(dir.path()) != 0) return 1;
    QDir(dir.path()).remove(QStringLiteral("big.jpg"));
    const FrameTimes frames = scrollBenchmark(dir.path());
    if (frames.ms.size() < 100) {
        std::fprintf(stderr, "scrolling failed: %zu frames\n", frames.ms.size());
        return 1;
    }
    std::printf("scrolling 500 photos: %zu frames, UI thread per frame median %.2f ms, worst %.2f ms (budget "
                "16 ms)\n",
                frames.ms.size(), frames.median(), frames.max());
    std::printf("ratio worst-frame/16ms: %.2f\n", frames.max() / 16.0);
    return 0;
}
