#include "app/feedback/feedback.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFont>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using namespace brisko;

namespace {

// A page that counts every kind of input reaching it, under a safe area of 34 at the bottom.
const char* const kPageQml = R"(
import QtQuick
Rectangle {
    width: 390; height: 844; color: "white"
    property real safeAreaBottom: 34
    property int presses: 0
    property int touches: 0
    property int wheels: 0
    readonly property int pointerHits: presses + touches
    Rectangle { x: 20; y: 100; width: 350; height: 60; color: "#007AFF" }
    Text { x: 20; y: 200; text: "示例页面"; font.pixelSize: 17 }
    MultiPointTouchArea {
        anchors.fill: parent
        mouseEnabled: false
        onPressed: parent.touches++
    }
    MouseArea {
        anchors.fill: parent
        onPressed: parent.presses++
        onWheel: parent.wheels++
    }
})";

QList<QQuickItem*> childrenNamed(QQuickItem* host, const QString& name) {
    QList<QQuickItem*> found;
    for (QQuickItem* child : host->childItems())
        if (child->objectName() == name) found << child;
    return found;
}

QQuickItem* labelOf(QQuickItem* item) {
    for (QQuickItem* child : item->childItems())
        if (child->property("font").isValid() && child->property("text").isValid()) return child;
    return nullptr;
}

QPointF centreIn(QQuickItem* item, QQuickItem* in) {
    return in->mapFromItem(item, QPointF(item->width() / 2, item->height() / 2));
}

} // namespace

class TestFeedback : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void toastLook_data();
    void toastLook();
    void toastTiming();
    void toastSurvivesHostGoingAway_data();
    void toastSurvivesHostGoingAway();
    void toastsOverlap();
    void overlayReplacesItself();
    void overlayLayout();
    void dismissFindsNestedOverlayAndToleratesNone();
    void overlayBlocksInput_data();
    void overlayBlocksInput();
    void callsFromWorkerThreadLandOnMain();
    void renderScreens();

private:
    QQuickItem* makePage(QQuickItem* parent);
    QQmlEngine engine_;
    QQuickWindow* window_ = nullptr;
    QPointer<QQuickItem> page_;
};

void TestFeedback::initTestCase() {
    QGuiApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC")));
}

QQuickItem* TestFeedback::makePage(QQuickItem* parent) {
    QQmlComponent component(&engine_);
    component.setData(kPageQml, QUrl::fromLocalFile(QDir::temp().filePath("Page.qml")));
    auto* page = qobject_cast<QQuickItem*>(component.create());
    if (!page) qWarning() << component.errors();
    page->setParentItem(parent);
    page->setParent(parent);
    return page;
}

void TestFeedback::init() {
    window_ = new QQuickWindow;
    window_->resize(390, 844);
    window_->setColor(Qt::white);
    page_ = makePage(window_->contentItem());
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_));
}

void TestFeedback::cleanup() {
    delete window_;
    window_ = nullptr;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Host shapes: the page itself (safe area 34), a host ending 14 above the page's bottom (so 20
// of the safe area reach into it), a host ending well above the safe area, and a host with no
// safe area anywhere above it.
void TestFeedback::toastLook_data() {
    QTest::addColumn<QString>("host"); // "page", "child", "detached"
    QTest::addColumn<qreal>("hostHeight");
    QTest::addColumn<QString>("message");
    QTest::addColumn<qreal>("expectedBottom");
    QTest::newRow("page") << "page" << 844.0 << "已发送启动指令" << 844.0 - 34 - 30;
    QTest::newRow("empty message") << "page" << 844.0 << "" << 844.0 - 34 - 30;
    QTest::newRow("child partly in safe area") << "child" << 830.0 << "hello" << 830.0 - 20 - 30;
    QTest::newRow("child above safe area") << "child" << 700.0 << "hello" << 700.0 - 30;
    QTest::newRow("no safe area") << "detached" << 600.0 << "hello" << 600.0 - 30;
}

void TestFeedback::toastLook() {
    QFETCH(QString, host);
    QFETCH(qreal, hostHeight);
    QFETCH(QString, message);
    QFETCH(qreal, expectedBottom);
    QQuickItem* view = page_;
    if (host != "page") {
        view = new QQuickItem(host == "child" ? page_.data() : window_->contentItem());
        view->setParentItem(host == "child" ? page_.data() : window_->contentItem());
        view->setSize({300, hostHeight});
    }
    BKShowToast(view, message);
    const auto toasts = childrenNamed(view, "BKToast");
    QCOMPARE(toasts.size(), 1);
    QQuickItem* toast = toasts.first();
    QQuickItem* label = labelOf(toast);
    QVERIFY(label);
    QCOMPARE(toast->opacity(), 0.0);
    QCOMPARE(label->property("text").toString(), "  " + message + "  ");
    QCOMPARE(label->property("color").value<QColor>(), QColor(Qt::white));
    QCOMPARE(label->property("font").value<QFont>().pixelSize(), 14);
    QCOMPARE(label->property("font").value<QFont>().weight(), QFont::Medium);
    const QColor background = toast->property("color").value<QColor>();
    QVERIFY(qAbs(background.redF() - 0.18) < 0.005 && qAbs(background.blueF() - 0.22) < 0.005);
    QVERIFY(qAbs(background.alphaF() - 0.92) < 0.005);
    QCOMPARE(toast->property("radius").toReal(), 20.0);
    QCOMPARE(toast->height(), 40.0);
    QVERIFY(toast->width() > 0);
    QCOMPARE(toast->width(), label->implicitWidth());
    QVERIFY(qAbs(toast->x() + toast->width() / 2 - view->width() / 2) <= 0.5); // centring snaps to whole pixels
    QCOMPARE(toast->y() + toast->height(), expectedBottom);
}

// Polls the toast's life: full opacity after the fade-in, the start of the fade-out, removal.
void TestFeedback::toastTiming() {
    BKShowToast(page_, "计时");
    QPointer<QQuickItem> toast = childrenNamed(page_, "BKToast").value(0);
    QVERIFY(toast);
    QElapsedTimer clock;
    clock.start();
    qint64 opaqueAt = -1, fadingAt = -1;
    while (toast && clock.elapsed() < 4000) {
        const qreal opacity = toast->opacity();
        if (opaqueAt < 0 && opacity == 1.0) opaqueAt = clock.elapsed();
        if (opaqueAt >= 0 && fadingAt < 0 && opacity < 1.0) fadingAt = clock.elapsed();
        QTest::qWait(5);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const qint64 removedAt = clock.elapsed();
    qDebug() << "opaque" << opaqueAt << "fading" << fadingAt << "removed" << removedAt;
    QVERIFY2(opaqueAt >= 200 && opaqueAt < 700, qPrintable(QString::number(opaqueAt)));
    QVERIFY2(fadingAt >= 1800 && fadingAt < 2500, qPrintable(QString::number(fadingAt)));
    QVERIFY2(removedAt >= 2050 && removedAt < 3000, qPrintable(QString::number(removedAt)));
}

void TestFeedback::toastSurvivesHostGoingAway_data() {
    QTest::addColumn<int>("afterMs");
    QTest::addColumn<bool>("deleteHost"); // else the host only leaves the window
    QTest::newRow("deleted while fading in") << 100 << true;
    QTest::newRow("deleted while shown") << 1000 << true;
    QTest::newRow("deleted while fading out") << 2000 << true;
    QTest::newRow("detached while shown") << 1000 << false;
}

void TestFeedback::toastSurvivesHostGoingAway() {
    QFETCH(int, afterMs);
    QFETCH(bool, deleteHost);
    auto* host = new QQuickItem(page_);
    host->setParentItem(page_);
    host->setSize({390, 844});
    BKShowToast(host, "bye");
    QPointer<QQuickItem> toast = childrenNamed(host, "BKToast").value(0);
    QTest::qWait(afterMs);
    if (deleteHost) {
        delete host;
        QVERIFY(!toast);
    } else {
        host->setParentItem(nullptr);
    }
    QTest::qWait(2600 - afterMs); // the pending fade-out and removal run against a dead host
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!toast);
    if (!deleteHost) delete host;
}

void TestFeedback::toastsOverlap() {
    BKShowToast(page_, "同样");
    QTest::qWait(500);
    BKShowToast(page_, "同样");
    const auto toasts = childrenNamed(page_, "BKToast");
    QCOMPARE(toasts.size(), 2);
    QPointer<QQuickItem> first = toasts[0], second = toasts[1];
    QCOMPARE(second->position(), first->position());
    QCOMPARE(second->z(), first->z());
    QVERIFY(page_->childItems().indexOf(second) > page_->childItems().indexOf(first)); // later on top
    QTRY_VERIFY_WITH_TIMEOUT(!first, 3000);
    QVERIFY(second);
    QCOMPARE(second->opacity(), 1.0); // the first one's fade-out left the second alone
    QTRY_VERIFY_WITH_TIMEOUT(!second, 1500);
}

void TestFeedback::overlayReplacesItself() {
    BKShowLoading(page_, "第一");
    BKShowLoading(page_, "第二");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const auto overlays = childrenNamed(page_, "BKLoadingOverlay");
    QCOMPARE(overlays.size(), 1);
    QCOMPARE(overlays.first(), BKFindItemWithTag(page_, BKLoadingViewTag));
    QCOMPARE(labelOf(overlays.first())->property("text").toString(), QStringLiteral("第二"));
    BKDismissLoading(page_);
    QVERIFY(!BKFindItemWithTag(page_, BKLoadingViewTag));
}

void TestFeedback::overlayLayout() {
    BKShowLoading(page_, "启动中...");
    QQuickItem* overlay = BKFindItemWithTag(page_, BKLoadingViewTag);
    QVERIFY(overlay);
    QCOMPARE(QRectF(overlay->position(), overlay->size()), QRectF(0, 0, 390, 844)); // safe areas included
    QCOMPARE(overlay->property("color").value<QColor>(), QColor::fromRgbF(0, 0, 0, 0.4));
    QQuickItem* label = labelOf(overlay);
    QQuickItem* indicator = nullptr;
    for (QQuickItem* child : overlay->childItems())
        if (child->width() == 37 && child->height() == 37) indicator = child;
    QVERIFY(indicator && label);
    const QPointF indicatorCentre = centreIn(indicator, overlay);
    QVERIFY(qAbs(indicatorCentre.x() - 195) <= 0.5 && qAbs(indicatorCentre.y() - (422 - 20)) <= 0.5);
    QVERIFY(qAbs(centreIn(label, overlay).x() - 195) <= 0.5);
    QCOMPARE(label->y(), indicator->y() + indicator->height() + 12);
    QCOMPARE(label->property("font").value<QFont>().pixelSize(), 16);
    QCOMPARE(label->property("font").value<QFont>().weight(), QFont::Medium);
    QCOMPARE(label->property("color").value<QColor>(), QColor(Qt::white));
}

void TestFeedback::dismissFindsNestedOverlayAndToleratesNone() {
    const int childCount = page_->childItems().size();
    BKDismissLoading(page_);
    BKDismissLoading(nullptr);
    QCOMPARE(page_->childItems().size(), childCount);

    auto* nested = new QQuickItem(page_);
    nested->setParentItem(page_);
    BKShowLoading(nested, "内层");
    BKDismissLoading(page_);
    QVERIFY(!BKFindItemWithTag(page_, BKLoadingViewTag));
}

void TestFeedback::overlayBlocksInput_data() {
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("counter");
    QTest::newRow("mouse") << "mouse" << "pointerHits";
    QTest::newRow("touch") << "touch" << "pointerHits"; // a touch area or, synthesized, the mouse area
    QTest::newRow("wheel") << "wheel" << "wheels";
}

void TestFeedback::overlayBlocksInput() {
    QFETCH(QString, input);
    QFETCH(QString, counter);
    static QPointingDevice* touchscreen = QTest::createTouchDevice();
    const QPoint at(195, 600);
    auto send = [&] {
        if (input == "mouse") {
            QTest::mouseClick(window_, Qt::LeftButton, {}, at);
        } else if (input == "touch") {
            QTest::touchEvent(window_, touchscreen).press(0, at, window_);
            QTest::touchEvent(window_, touchscreen).release(0, at, window_);
        } else {
            QWheelEvent wheel(at, window_->mapToGlobal(at), {}, {0, -120}, Qt::NoButton, {}, Qt::NoScrollPhase, false);
            QGuiApplication::sendEvent(window_, &wheel);
        }
        QCoreApplication::processEvents();
    };
    BKShowLoading(page_, "稍候");
    send();
    QCOMPARE(page_->property(qPrintable(counter)).toInt(), 0);
    BKDismissLoading(page_);
    send();
    QCOMPARE(page_->property(qPrintable(counter)).toInt(), 1); // the same input does arrive without it
}

void TestFeedback::callsFromWorkerThreadLandOnMain() {
    QQuickItem* page = page_;
    QScopedPointer<QThread> worker(QThread::create([page] {
        BKShowLoading(page, "后台");
        BKShowToast(page, "后台");
    }));
    worker->start();
    QVERIFY(worker->wait(5000));
    QTRY_VERIFY(BKFindItemWithTag(page_, BKLoadingViewTag));
    QTRY_COMPARE(childrenNamed(page_, "BKToast").size(), 1);
    QCOMPARE(BKFindItemWithTag(page_, BKLoadingViewTag)->thread(), QCoreApplication::instance()->thread());
}

namespace {

bool near(QRgb pixel, QColor expected, int tolerance = 3) {
    return qAbs(qRed(pixel) - expected.red()) <= tolerance && qAbs(qGreen(pixel) - expected.green()) <= tolerance &&
           qAbs(qBlue(pixel) - expected.blue()) <= tolerance;
}

QString describe(QRgb pixel) {
    return QStringLiteral("rgb(%1,%2,%3)").arg(qRed(pixel)).arg(qGreen(pixel)).arg(qBlue(pixel));
}

QString screensDir() {
    const QString base = qEnvironmentVariable("BRISKO_TEST_BIN_DIR", QDir::tempPath());
    QDir().mkpath(base + "/screens");
    return base + "/screens";
}

} // namespace

// Renders both over the sample page into BRISKO_TEST_BIN_DIR/screens and checks the blended colours.
void TestFeedback::renderScreens() {
    BKShowToast(page_, "已发送启动指令");
    QQuickItem* toast = childrenNamed(page_, "BKToast").value(0);
    QTRY_COMPARE(toast->opacity(), 1.0);
    QImage shot = window_->grabWindow();
    QVERIFY(shot.save(screensDir() + "/feedback-toast.png"));
    const QPoint toastEdge = page_->mapFromItem(toast, QPointF(10, 20)).toPoint();
    // 0.92 of (46, 46, 56) over white.
    QVERIFY2(near(shot.pixel(toastEdge), QColor(63, 63, 72)), qPrintable(describe(shot.pixel(toastEdge))));
    QVERIFY(near(shot.pixel(toastEdge.x() - 12, toastEdge.y()), Qt::white));

    BKShowLoading(page_, "启动中...");
    QTest::qWait(50);
    shot = window_->grabWindow();
    QVERIFY(shot.save(screensDir() + "/feedback-loading.png"));
    // 0.4 black over white and over the blue bar.
    QVERIFY2(near(shot.pixel(5, 700), QColor(153, 153, 153)), qPrintable(describe(shot.pixel(5, 700))));
    QVERIFY2(near(shot.pixel(30, 130), QColor(0, 73, 153)), qPrintable(describe(shot.pixel(30, 130))));
}

QTEST_MAIN(TestFeedback)
#include "tst_feedback.moc"
