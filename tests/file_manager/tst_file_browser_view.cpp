// The desktop's ways to the browser's actions, through the real view on a display: the right-click
// menu, Delete and F2 on the selected row, and files dropped on the window.
#include <QtTest>

#include "file_manager/FBFileBrowserViewController.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"
#include "tests/support/alerts.h"
#include "tests/support/quick_items.h"
#include "tests/support/test_files.h"

using namespace brisko;
using ui::AlertController;
using namespace brisko::testing;

namespace {

class Browser : public FBFileBrowserViewController {
  public:
    using FBFileBrowserViewController::FBFileBrowserViewController;
    QStringList toasts;

  protected:
    void showToast(const QString& text) override { toasts << text; }
};

// The visible item of that type whose `key` property reads `value`.
QQuickItem* find(QQuickWindow* window, const char* type, const char* key, const QString& value) {
    for (QQuickItem* item : descendants(window->contentItem()))
        if (item->isVisible() && item->inherits(type)) {
            const QVariant v = item->property(key);
            if ((v.canConvert<QVariantMap>() ? v.toMap().value("name") : v).toString() == value) return item;
        }
    return nullptr;
}

void dropFiles(QQuickWindow* window, const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    const QPoint at(window->width() / 2, window->height() / 2);
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(window, &enter);
    QDragMoveEvent move(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(window, &move);
    QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(window, &drop);
}

} // namespace

class TestFileBrowserView : public QObject {
    Q_OBJECT
    void cleanup() { dismissAllAlerts(); }

  private slots:
    void desktopActions_data() {
        QTest::addColumn<QString>("gesture"); // "menu <item>", "click then <key>", "<key>", "drop"
        QTest::addColumn<QString>("alert");   // the alert the gesture brings up, "" none
        QTest::addColumn<QString>("answer");  // "<action>" or "<action>:<text typed>"
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QString>("toast");
        const QStringList untouched{"a.bin", "keep.bin", "sub"}, renamed{"b.bin", "keep.bin", "sub"},
            deleted{"keep.bin", "sub"};
        const auto row = [](const char* name, const char* gesture, const char* alert, const char* answer,
                            const QStringList& after, const char* toast = "") {
            QTest::newRow(name) << QString(gesture) << QString(alert) << QString(answer) << after
                                << QString(toast);
        };
        row("menu rename", "menu 重命名", "重命名", "确定:b.bin", renamed);
        row("menu delete", "menu 删除", "确认删除", "删除", deleted);
        row("F2 on the selected row", "click then F2", "重命名", "确定:b.bin", renamed);
        row("Delete on the selected row", "click then Delete", "确认删除", "删除", deleted);
        row("double click then Delete", "click then double Delete", "确认删除", "删除", deleted);
        row("rename cannot replace", "click then F2", "重命名", "确定:keep.bin", untouched);
        row("Delete with no row selected", "Delete", "", "", untouched);
        row("dropped files are imported", "drop", "", "", {"a.bin", "dropped.txt", "keep.bin", "sub"},
            "已导入 1 个文件");
    }

    void desktopActions() {
        QFETCH(QString, gesture);
        QFETCH(QString, alert);
        QFETCH(QString, answer);
        QTemporaryDir dir, outside;
        QVERIFY(writeFile(dir.filePath("a.bin")) && writeFile(dir.filePath("keep.bin")));
        QVERIFY(QDir(dir.path()).mkdir("sub") && writeFile(outside.filePath("dropped.txt")));
        auto* browser = new Browser(dir.path());
        ui::Window window;
        window.setRootViewController(new ui::NavigationController(browser));
        window.makeKeyAndVisible();
        QQuickWindow* quick = window.quickWindow();
        QVERIFY(QTest::qWaitForWindowActive(quick));
        QTRY_VERIFY(find(quick, "QQuickSwipeDelegate", "modelData", "a.bin"));
        QQuickItem* row = find(quick, "QQuickSwipeDelegate", "modelData", "a.bin");

        if (gesture.startsWith("menu ")) {
            click(row, Qt::RightButton);
            QTRY_VERIFY(find(quick, "QQuickMenuItem", "text", gesture.mid(5)));
            click(find(quick, "QQuickMenuItem", "text", gesture.mid(5)));
        } else if (gesture == "drop") {
            dropFiles(quick, {QUrl::fromLocalFile(outside.filePath("dropped.txt")),
                              QUrl::fromLocalFile(outside.path())});
        } else {
            if (gesture.startsWith("click then ")) {
                if (gesture.contains("double"))
                    QTest::mouseDClick(quick, Qt::LeftButton, {}, centreOf(row));
                else
                    click(row);
                QTRY_VERIFY(AlertController::topPresented()); // a file's facts
                QCOMPARE(AlertController::topPresented()->title(), QString("a.bin"));
                QCOMPARE(AlertController::presented().size(), 1);
                QVERIFY(AlertController::topPresented()->tapAction("确定"));
            }
            QTest::keyClick(quick, gesture.endsWith("F2") ? Qt::Key_F2 : Qt::Key_Delete);
        }

        AlertController* shown = AlertController::topPresented();
        QCOMPARE(shown ? shown->title() : QString(), alert);
        QCOMPARE(AlertController::presented().size(), alert.isEmpty() ? 0 : 1); // one gesture, one alert
        if (shown) {
            if (alert == "重命名") QCOMPARE(shown->textFieldText(0), QString("a.bin"));
            if (answer.contains(':')) shown->setTextFieldText(0, answer.section(':', 1));
            QVERIFY(shown->tapAction(answer.section(':', 0, 0)));
        }
        QTEST(fileTree(dir.path()).replaceInStrings("/", ""), "after");
        QStringList listed;
        for (const QVariant& item : browser->items())
            listed << item.toMap().value("name").toString();
        listed.sort();
        QTEST(listed, "after");
        QFETCH(QString, toast);
        QCOMPARE(browser->toasts, toast.isEmpty() ? QStringList() : QStringList{toast});
    }
};

QTEST_MAIN(TestFileBrowserView)
#include "tst_file_browser_view.moc"
