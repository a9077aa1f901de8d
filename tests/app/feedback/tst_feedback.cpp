#include "app/feedback/feedback.h"
#include "tests/support/manual_scheduler.h"

#include <QFont>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

using namespace brisko;

namespace {

// A page under a bottom safe area of 34 that counts the input reaching it.
const char* const kPageQml = R"(
import QtQuick
Rectangle {
    width: 390; height: 844; color: "white"
    property real safeAreaBottom: 34
    property int hits: 0
    MouseArea { anchors.fill: parent; onPressed: parent.hits++ }
    MultiPointTouchArea { anchors.fill: parent; mouseEnabled: false; onPressed: parent.hits++ }
})";

QList<QQuickItem*> childrenNamed(QQuickItem* host, const char* name) {
    QList<QQuickItem*> found;
    for (QQuickItem* child : host->childItems())
        if (child->objectName() == QLatin1String(name)) found << child;
    return found;
}

QString labelText(QQuickItem* item) {
    for (QQuickItem* child : item->childItems())
        if (child->property("font").isValid()) return child->property("text").toString();
    return {};
}

} // namespace

class TestFeedback : public QObject {
    Q_OBJECT
    QQmlEngine engine_;
    QQuickWindow* window_ = nullptr;
    QQuickItem* page_ = nullptr;

    QQuickItem* childOf(QQuickItem* parent, qreal height) {
        auto* item = new QQuickItem(parent);
        item->setParentItem(parent);
        item->setSize({300, height});
        return item;
    }

  private slots:
    void initTestCase() { QGuiApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC"))); }
    void init() {
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
    void cleanup() { delete window_; }

    // A child ending 14 above the page's bottom has 20 of the safe area; one in the bare
    // window has none.
    void toastPlacement_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<qreal>("expectedBottom");
        QTest::newRow("page") << "page" << 844.0 - 34 - 30;
        QTest::newRow("child partly in safe area") << "child" << 830.0 - 20 - 30;
        QTest::newRow("no safe area") << "window" << 600.0 - 30;
    }
    void toastPlacement() {
        QFETCH(QString, host);
        QQuickItem* view = host == "page"    ? page_
                           : host == "child" ? childOf(page_, 830)
                                             : childOf(window_->contentItem(), 600);
        BKShowToast(view, "已发送");
        const auto toasts = childrenNamed(view, "BKToast");
        QCOMPARE(toasts.size(), 1);
        QQuickItem* toast = toasts.first();
        QCOMPARE(labelText(toast), QStringLiteral("  已发送  "));
        QCOMPARE(toast->height(), 40.0);
        QVERIFY(qAbs(toast->x() + toast->width() / 2 - view->width() / 2) <= 0.5); // snapped to pixels
        QTEST(toast->y() + toast->height(), "expectedBottom");
    }

    // Fade in, a 1.6 s hold on the dispatch clock, fade out, then removal; a second toast over the
    // first keeps a hold of its own.
    void toastLifecycle() {
        testing::ManualScheduler clock;
        BKShowToast(page_, "同样");
        QPointer<QQuickItem> first = childrenNamed(page_, "BKToast").value(0);
        QVERIFY(first && first->opacity() < 1.0);
        QTRY_COMPARE(first->opacity(), 1.0);
        clock.advance(0.5);
        BKShowToast(page_, "同样");
        QPointer<QQuickItem> second = childrenNamed(page_, "BKToast").value(1);
        QVERIFY(second);
        QCOMPARE(second->position(), first->position());
        QTRY_COMPARE(second->opacity(), 1.0);
        QCOMPARE(clock.pendingCount(), 2);
        clock.advance(1.0);
        QCOMPARE(first->opacity(), 1.0);
        clock.advance(0.1);
        QTRY_VERIFY(!first);
        QCOMPARE(second->opacity(), 1.0);
        clock.advance(1.0);
        QTRY_VERIFY(!second);
        QCOMPARE(clock.pendingCount(), 0);
    }

    // The pending fade and removal then run against a dead host.
    void toastOutlivesItsHost_data() {
        QTest::addColumn<int>("stage");
        QTest::newRow("host deleted while fading in") << 0;
        QTest::newRow("host deleted while held") << 1;
        QTest::newRow("host deleted while fading out") << 2;
    }
    void toastOutlivesItsHost() {
        QFETCH(int, stage);
        testing::ManualScheduler clock;
        QPointer<QQuickItem> host = childOf(page_, 100);
        BKShowToast(host, "bye");
        QPointer<QQuickItem> toast = childrenNamed(host, "BKToast").value(0);
        if (stage >= 1) QTRY_COMPARE(toast->opacity(), 1.0);
        if (stage >= 2) clock.advance(1.6);
        delete host;
        QVERIFY(!toast);
        clock.advance(2);
        QTest::qWait(300); // lets a fade that outlived the host finish
    }

    void overlayReplacesItselfAndDismisses() {
        const QList<QQuickItem*> before = page_->childItems();
        BKDismissLoading(page_); // none yet: nothing happens
        BKDismissLoading(nullptr);
        QCOMPARE(page_->childItems(), before);
        QQuickItem* nested = childOf(page_, 100);
        BKShowLoading(nested, "第一");
        BKShowLoading(nested, "第二");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const auto overlays = childrenNamed(nested, "BKLoadingOverlay");
        QCOMPARE(overlays.size(), 1);
        QCOMPARE(labelText(overlays.first()), QStringLiteral("第二"));
        QCOMPARE(overlays.first()->property("tag").toInt(), BKLoadingViewTag);
        BKShowLoading(page_, "外层"); // replaces the one in its descendant
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(childrenNamed(nested, "BKLoadingOverlay").isEmpty());
        QVERIFY(BKLoadingOverlayFor(page_));
        BKShowLoading(nested, "里层");
        BKDismissLoading(page_); // found among the descendants
        QVERIFY(!BKLoadingOverlayFor(page_) && !BKLoadingOverlayFor(nested));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(childrenNamed(page_, "BKLoadingOverlay").isEmpty());
        QVERIFY(childrenNamed(nested, "BKLoadingOverlay").isEmpty());
    }

    void overlayBlocksInput_data() {
        QTest::addColumn<bool>("touch");
        QTest::newRow("mouse") << false;
        QTest::newRow("touch") << true;
    }
    void overlayBlocksInput() {
        QFETCH(bool, touch);
        static QPointingDevice* touchscreen = QTest::createTouchDevice();
        const QPoint at(195, 600);
        auto send = [&] {
            if (!touch) return QTest::mouseClick(window_, Qt::LeftButton, {}, at);
            QTest::touchEvent(window_, touchscreen).press(0, at, window_);
            QTest::touchEvent(window_, touchscreen).release(0, at, window_);
        };
        BKShowLoading(page_, "稍候");
        send();
        QCOMPARE(page_->property("hits").toInt(), 0);
        BKDismissLoading(page_);
        send();
        QCOMPARE(page_->property("hits").toInt(), 1); // the same input arrives without the overlay
    }
};

QTEST_MAIN(TestFeedback)
#include "tst_feedback.moc"
