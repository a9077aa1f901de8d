// Thumbnails. 1) A 4000 x 3000 JPEG's thumbnail (decoded scaled, orientation applied) against
// `djpeg -scale 1/8` of the same file as a whole process. 2) Scrolling a browser over 500 photos:
// the UI thread's work per frame (the scroll step with its new rows, then the frame from
// afterAnimating to frameSwapped), with the basic render loop so all of it is on this thread,
// against a blank page scrolled the same way: what the display itself costs a frame.
#include "file_manager/FBFileBrowserViewController.h"
#include "file_manager/thumbnails.h"
#include "platform/ui/engine.h"
#include "run_peer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
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

// Nearest rank: the value at or below which the given share of the samples fall.
double percentile(std::vector<double> sorted, double share) {
    std::sort(sorted.begin(), sorted.end());
    if (sorted.empty()) return 0;
    const size_t rank = size_t(std::ceil(share * double(sorted.size())));
    return sorted[std::clamp<size_t>(rank, 1, sorted.size()) - 1];
}

struct FrameTimes {
    double firstMs = 0; // the window's first draw, before any scrolling
    std::vector<double> ms;
    std::vector<double> stepMs; // of which moving the list and making its new rows
    double percentile(double share) const { return ::percentile(ms, share); }
    long over(double budget) const {
        return std::count_if(ms.begin(), ms.end(), [&](double t) { return t > budget; });
    }
};

// Scrolls `content`'s Flickable (named "fileList") to its end, a frame at a time.
FrameTimes scrollFrames(QQuickItem* content) {
    QQuickWindow window;
    window.resize(390, 844);
    content->setParentItem(window.contentItem());
    content->setSize(window.size());
    window.show();
    auto* list = content->objectName() == QLatin1String("fileList")
                     ? content
                     : content->findChild<QQuickItem*>(QStringLiteral("fileList"));
    FrameTimes times;
    QElapsedTimer clock;
    clock.start();
    qint64 frameStart = 0;
    double stepMs = 0;
    bool scrolling = false;
    const double end = list ? list->property("contentHeight").toDouble() - window.height() : 0;
    QObject::connect(&window, &QQuickWindow::afterAnimating, [&] { frameStart = clock.nsecsElapsed(); });
    QObject::connect(&window, &QQuickWindow::frameSwapped, [&] {
        const double frameMs = stepMs + double(clock.nsecsElapsed() - frameStart) / 1e6;
        if (frameStart && !scrolling) {
            times.firstMs = frameMs;
        } else if (frameStart) {
            times.ms.push_back(frameMs);
            times.stepMs.push_back(stepMs);
        }
        const qint64 stepStart = clock.nsecsElapsed();
        const double y = list->property("contentY").toDouble() + 24; // a brisk finger flick per frame
        if (y >= end) {
            QGuiApplication::quit();
            return;
        }
        list->setProperty("contentY", y); // new rows are made here, on this thread
        scrolling = true;
        stepMs = double(clock.nsecsElapsed() - stepStart) / 1e6;
        window.update();
    });
    // A window that never draws (no display) must not hang the run.
    QTimer::singleShot(120000, &window, [] { QGuiApplication::quit(); });
    if (list) QGuiApplication::exec();
    content->setParentItem(nullptr);
    return times;
}

FrameTimes scrollBrowser(const QString& folder) {
    for (int i = 0; i < 500; ++i)
        photoLike(QSize(1200, 900), i + 2)
            .save(folder + QStringLiteral("/photo%1.jpg").arg(i, 3, 10, QLatin1Char('0')), "JPEG", 85);
    brisko::FBFileBrowserViewController browser(folder);
    return scrollFrames(browser.view());
}

// The display's own cost: a flat page as tall as the browser's list, scrolled the same way.
FrameTimes scrollBlankPage() {
    QQmlComponent component(brisko::ui::engine());
    component.setData("import QtQuick\nFlickable { objectName: \"fileList\"; contentHeight: 500 * 60 + 36\n"
                      "Rectangle { width: 390; height: 500 * 60 + 36; color: \"#F2F2F7\" } }",
                      QUrl());
    std::unique_ptr<QObject> page(component.create());
    auto* item = qobject_cast<QQuickItem*>(page.get());
    return item ? scrollFrames(item) : FrameTimes{};
}

void printFrames(const char* what, const FrameTimes& frames) {
    std::printf(
        "%s: first frame %.2f ms; then %zu scrolling frames, UI thread per frame: median %.2f ms, p99 "
        "%.2f ms, worst %.2f ms, %ld over 16 ms (of which moving the list and making rows: p99 %.2f ms, "
        "worst %.2f ms)\n",
        what, frames.firstMs, frames.ms.size(), frames.percentile(0.5), frames.percentile(0.99),
        frames.percentile(1.0), frames.over(16.0), percentile(frames.stepMs, 0.99),
        percentile(frames.stepMs, 1.0));
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QSG_RENDER_LOOP", "basic");
    QGuiApplication app(argc, argv);
    brisko::ui::installSystemFont();
    QTemporaryDir dir;
    if (decodeBenchmark(dir.path()) != 0) return 1;
    QDir(dir.path()).remove(QStringLiteral("big.jpg"));
    const FrameTimes ours = scrollBrowser(dir.path());
    const FrameTimes peer = scrollBlankPage();
    if (ours.ms.size() < 100 || peer.ms.size() < 100) {
        std::fprintf(stderr, "scrolling failed: %zu and %zu frames\n", ours.ms.size(), peer.ms.size());
        return 1;
    }
    printFrames("ours (scrolling 500 photos)", ours);
    printFrames("peer (a blank page, the same scroll)", peer);
    std::printf("ratio p99-frame browser/blank: %.2f\n", ours.percentile(0.99) / peer.percentile(0.99));
    return 0;
}
