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
#include <QTest>

using namespace brisko;

namespace {

// A page under a bottom safe area of 34 that counts the input reaching it.
const char* const kPageQml = R"(
import QtQuick
Rectangle {
    width: 390; height: 844; color: "white"
    property real safeAreaBottom: 34
    property int hits: 0
    Rectangle { x: 20; y: 100; width: 350; height: 60; color: "#007AFF" }
    Text { x: 20; y: 200; text: "示例页面"; font.pixelSize: 17 }
    MouseArea { anchors.fill: parent; onPressed: parent.hits++; onWheel: parent.hits++ }
    MultiPointTouchArea { anchors.fill: parent; mouseEnabled: false; onPressed: parent.hits++ }
})";

QList<QQuickItem*> childrenNamed(QQuickItem* host, const char* name) {
    QList<QQuickItem*> found;
    for (QQuickItem* child : host->childItems())
        if (child->objectName() == QLatin1String(name)) found << child;
    return found;
}

QQuickItem* labelOf(QQuickItem* item) {
    for (QQuickItem* child : item->childItems())
        if (child->property("font").isValid()) return child;
    return nullptr;
}

bool near(qreal a, qreal b) { return qAbs(a - b) <= 0.5; } // centring snaps to whole pixels

bool nearColour(QRgb pixel, QColor expected) {
    return qAbs(qRed(pixel) - expected.red()) <= 3 && qAbs(qGreen(pixel) - expected.green()) <= 3 &&
           qAbs(qBlue(pixel) - expected.blue()) <= 3;
}

} // namespace

class TestFeedback : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QGuiApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC"))); }
    void init();
    void cleanup() { delete window_; }
    void toastPlacement_data();
    void toastPlacement();
    void toastTiming();
    void toastOutlivesItsHost_data();
    void toastOutlivesItsHost();
    void toastsOverlap();
    void overlayReplacesItselfAndDismisses();
    void overlayBlocksInput_data();
    void overlayBlocksInput();
    void renderScreens();

private:
    QQmlEngine engine_;
    QQuickWindow* window_ = nullptr;
    QQuickItem* page_ = nullptr;
};

void TestFeedback::init() {
    window_ = new QQuickWindow;
    window_->resize(390, 844);
    QQmlComponent component(&engine_);
    component.setData(kPageQml, QUrl::fromLocalFile(QDir::temp().filePath("Page.qml")));
    page_ = qobject_cast<QQuickItem*>(component.create());
    QVERIFY2(page_, qPrintable(component.errorString()));
    page_->setParentItem(window_->contentItem());
    page_->setParent(window_);
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_));
}

// Hosts: the page; a host ending 14 above the page's bottom, so 20 of the safe area reach into
// it; one ending above the safe area; one (built in C++, without an engine) with no safe area.
void TestFeedback::toastPlacement_data() {
    QTest::addColumn<QString>("host");
    QTest::addColumn<qreal>("hostHeight");
    QTest::addColumn<QString>("message");
    QTest::addColumn<qreal>("expectedBottom");
    QTest::newRow("page") << "page" << 844.0 << "已发送启动指令" << 844.0 - 34 - 30;
    QTest::newRow("empty message") << "page" << 844.0 << "" << 844.0 - 34 - 30;
    QTest::newRow("child partly in safe area") << "child" << 830.0 << "hello" << 830.0 - 20 - 30;
    QTest::newRow("child above safe area") << "child" << 700.0 << "hello" << 700.0 - 30;
    QTest::newRow("no safe area") << "window" << 600.0 << "hello" << 600.0 - 30;
}

void TestFeedback::toastPlacement() {
    QFETCH(QString, host);
    QFETCH(qreal, hostHeight);
    QFETCH(QString, message);
    QFETCH(qreal, expectedBottom);
    QQuickItem* view = page_;
    if (host != "page") {
        QQuickItem* parent = host == "child" ? page_ : window_->contentItem();
        view = new QQuickItem(parent);
        view->setParentItem(parent);
        view->setSize({300, hostHeight});
    }
    BKShowToast(view, message);
    const auto toasts = childrenNamed(view, "BKToast");
    QCOMPARE(toasts.size(), 1);
    QQuickItem* toast = toasts.first();
    QCOMPARE(toast->opacity(), 0.0);
    QCOMPARE(labelOf(toast)->property("text").toString(), "  " + message + "  ");
    QCOMPARE(toast->height(), 40.0);
    QVERIFY(toast->width() > 0 && toast->width() == labelOf(toast)->implicitWidth());
    QVERIFY(near(toast->x() + toast->width() / 2, view->width() / 2));
    QCOMPARE(toast->y() + toast->height(), expectedBottom);
}

// Polls one toast's life: opaque after the fade-in, fading after the hold, then removed.
void TestFeedback::toastTiming() {
    BKShowToast(page_, "计时");
    QPointer<QQuickItem> toast = childrenNamed(page_, "BKToast").value(0);
    QElapsedTimer clock;
    clock.start();
    qint64 opaqueAt = -1, fadingAt = -1;
    while (toast && clock.elapsed() < 4000) {
        if (opaqueAt < 0 && toast->opacity() == 1.0) opaqueAt = clock.elapsed();
        if (opaqueAt >= 0 && fadingAt < 0 && toast->opacity() < 1.0) fadingAt = clock.elapsed();
        QTest::qWait(5);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const qint64 removedAt = clock.elapsed();
    const QString times = QStringLiteral("%1 %2 %3").arg(opaqueAt).arg(fadingAt).arg(removedAt);
    QVERIFY2(opaqueAt >= 200 && opaqueAt < 700, qPrintable(times));
    QVERIFY2(fadingAt >= 1800 && fadingAt < 2500, qPrintable(times));
    QVERIFY2(removedAt >= 2050 && removedAt < 3000, qPrintable(times));
}

void TestFeedback::toastOutlivesItsHost_data() {
    QTest::addColumn<int>("afterMs");
    QTest::addColumn<bool>("deleteHost"); // else the host only leaves the window
    QTest::newRow("deleted while fading in") << 100 << true;
    QTest::newRow("deleted while shown") << 1000 << true;
    QTest::newRow("deleted while fading out") << 2000 << true;
    QTest::newRow("detached while shown") << 1000 << false;
}

void TestFeedback::toastOutlivesItsHost() {
    QFETCH(int, afterMs);
    QFETCH(bool, deleteHost);
    QPointer<QQuickItem> host = new QQuickItem(page_);
    host->setParentItem(page_);
    BKShowToast(host, "bye");
    QPointer<QQuickItem> toast = childrenNamed(host, "BKToast").value(0);
    QTest::qWait(afterMs);
    if (deleteHost) delete host;
    else host->setParentItem(nullptr);
    QTest::qWait(2600 - afterMs); // the pending fade-out and removal run against a dead host
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!toast);
    delete host;
}

void TestFeedback::toastsOverlap() {
    BKShowToast(page_, "同样");
    QTest::qWait(500);
    BKShowToast(page_, "同样");
    const auto toasts = childrenNamed(page_, "BKToast");
    QCOMPARE(toasts.size(), 2);
    QPointer<QQuickItem> first = toasts[0], second = toasts[1];
    QCOMPARE(second->position(), first->position());
    QCOMPARE(second->z(), first->z()); // equal z: the later child is drawn on top
    QTRY_VERIFY_WITH_TIMEOUT(!first, 3000);
    QCOMPARE(second->opacity(), 1.0);
    QTRY_VERIFY_WITH_TIMEOUT(!second, 1500);
}

void TestFeedback::overlayReplacesItselfAndDismisses() {
    const QList<QQuickItem*> before = page_->childItems();
    BKDismissLoading(page_); // none yet: nothing happens
    BKDismissLoading(nullptr);
    QCOMPARE(page_->childItems(), before);
    auto* nested = new QQuickItem(page_);
    nested->setParentItem(page_);
    BKShowLoading(nested, "第一");
    BKShowLoading(nested, "第二");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const auto overlays = childrenNamed(nested, "BKLoadingOverlay");
    QCOMPARE(overlays.size(), 1);
    QCOMPARE(labelOf(overlays.first())->property("text").toString(), QStringLiteral("第二"));
    BKDismissLoading(page_); // found among the descendants
    QVERIFY(!BKFindItemWithTag(page_, BKLoadingViewTag));
}

void TestFeedback::overlayBlocksInput_data() {
    QTest::addColumn<QString>("input");
    QTest::newRow("mouse") << "mouse";
    QTest::newRow("touch") << "touch";
    QTest::newRow("wheel") << "wheel";
}

void TestFeedback::overlayBlocksInput() {
    QFETCH(QString, input);
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
    };
    BKShowLoading(page_, "稍候");
    send();
    QCOMPARE(page_->property("hits").toInt(), 0);
    BKDismissLoading(page_);
    send();
    QCOMPARE(page_->property("hits").toInt(), 1); // the same input arrives without the overlay
}

// Writes both over the sample page to BRISKO_TEST_BIN_DIR/screens and checks the blended colours.
void TestFeedback::renderScreens() {
    const QString dir = qEnvironmentVariable("BRISKO_TEST_BIN_DIR", QDir::tempPath()) + "/screens";
    QDir().mkpath(dir);
    BKShowToast(page_, "已发送启动指令");
    QQuickItem* toast = childrenNamed(page_, "BKToast").value(0);
    QTRY_COMPARE(toast->opacity(), 1.0);
    QImage shot = window_->grabWindow();
    QVERIFY(shot.save(dir + "/feedback-toast.png"));
    const QPoint inToast = page_->mapFromItem(toast, QPointF(10, 20)).toPoint();
    QVERIFY(nearColour(shot.pixel(inToast), QColor(63, 63, 72))); // 0.92 of (46, 46, 56) over white
    QVERIFY(nearColour(shot.pixel(inToast - QPoint(12, 0)), Qt::white));

    BKShowLoading(page_, "启动中...");
    QTest::qWait(50);
    shot = window_->grabWindow();
    QVERIFY(shot.save(dir + "/feedback-loading.png"));
    QVERIFY(nearColour(shot.pixel(5, 700), QColor(153, 153, 153))); // 0.4 black over white
    QVERIFY(nearColour(shot.pixel(30, 130), QColor(0, 73, 153)));  // and over the blue bar
}

QTEST_MAIN(TestFeedback)
#include "tst_feedback.moc"
