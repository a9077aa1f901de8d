// The desktop's ways to the browser's actions, through the real view on a display: the right-click
// menu, Delete and F2 on the selected row, and files dropped on the window.
#include <QMimeData>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>

#include "file_manager/FBFileBrowserViewController.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/window.h"

using namespace brisko;
using ui::AlertController;

namespace {

class Browser : public FBFileBrowserViewController {
  public:
    using FBFileBrowserViewController::FBFileBrowserViewController;
    QStringList toasts;

  protected:
    void showToast(const QString& text) override { toasts << text; }
};

void write(const QString& path) {
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
}

QList<QQuickItem*> descendants(QQuickItem* root) {
    QList<QQuickItem*> out{root};
    for (int i = 0; i < out.size(); ++i)
        out += out[i]->childItems();
    return out;
}

// The visible item of that type whose `key` property reads `value`.
QQuickItem* find(QQuickWindow* window, const char* type, const char* key, const QString& value) {
    for (QQuickItem* item : descendants(window->contentItem()))
        if (item->isVisible() && item->inherits(type)) {
            const QVariant v = item->property(key);
            if ((v.canConvert<QVariantMap>() ? v.toMap().value("name") : v).toString() == value) return item;
        }
    return nullptr;
}

QPoint centre(QQuickItem* item) {
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
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

QStringList names(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

class TestFileBrowserView : public QObject {
    Q_OBJECT
  private slots:
    void cleanup() {
        while (AlertController* a = AlertController::topPresented())
            ui::dismissAlert(a);
    }
    void desktopActions_data();
    void desktopActions();
};

void TestFileBrowserView::desktopActions_data() {
    QTest::addColumn<QString>("gesture"); // "menu <item>", "click then <key>", "<key>", "drop"
    QTest::addColumn<QString>("alert");   // the alert the gesture brings up, "" none
    QTest::addColumn<QString>("answer");  // "<action>" or "<action>:<text typed>"
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<QString>("toast");
    const QStringList untouched{"a.bin", "keep.bin", "sub"};
    QTest::newRow("menu rename") << "menu 重命名"
                                 << "重命名"
                                 << "确定:b.bin" << QStringList{"b.bin", "keep.bin", "sub"} << "";
    QTest::newRow("menu delete") << "menu 删除"
                                 << "确认删除"
                                 << "删除" << QStringList{"keep.bin", "sub"} << "";
    QTest::newRow("F2 on the selected row") << "click then F2"
                                            << "重命名"
                                            << "确定:b.bin" << QStringList{"b.bin", "keep.bin", "sub"} << "";
    QTest::newRow("Delete on the selected row") << "click then Delete"
                                                << "确认删除"
                                                << "删除" << QStringList{"keep.bin", "sub"} << "";
    QTest::newRow("double click then Delete") << "click then double Delete"
                                              << "确认删除"
                                              << "删除" << QStringList{"keep.bin", "sub"} << "";
    QTest::newRow("rename cannot replace") << "click then F2"
                                           << "重命名"
                                           << "确定:keep.bin" << untouched << "";
    QTest::newRow("Delete with no row selected") << "Delete"
                                                 << ""
                                                 << "" << untouched << "";
    QTest::newRow("dropped files are imported")
        << "drop"
        << ""
        << "" << QStringList{"a.bin", "dropped.txt", "keep.bin", "sub"} << "已导入 1 个文件";
}

void TestFileBrowserView::desktopActions() {
    QFETCH(QString, gesture);
    QFETCH(QString, alert);
    QFETCH(QString, answer);
    QTemporaryDir dir, outside;
    write(dir.filePath("a.bin"));
    write(dir.filePath("keep.bin"));
    QDir(dir.path()).mkdir("sub");
    write(outside.filePath("dropped.txt"));
    auto* browser = new Browser(dir.path());
    ui::Window window;
    window.setRootViewController(new ui::NavigationController(browser));
    window.makeKeyAndVisible();
    QQuickWindow* quick = window.quickWindow();
    QVERIFY(QTest::qWaitForWindowActive(quick));
    QTRY_VERIFY(find(quick, "QQuickSwipeDelegate", "modelData", "a.bin"));
    QQuickItem* row = find(quick, "QQuickSwipeDelegate", "modelData", "a.bin");

    if (gesture.startsWith("menu ")) {
        QTest::mouseClick(quick, Qt::RightButton, {}, centre(row));
        QTRY_VERIFY(find(quick, "QQuickMenuItem", "text", gesture.mid(5)));
        QTest::mouseClick(quick, Qt::LeftButton, {},
                          centre(find(quick, "QQuickMenuItem", "text", gesture.mid(5))));
    } else if (gesture == "drop") {
        dropFiles(quick, {QUrl::fromLocalFile(outside.filePath("dropped.txt")),
                          QUrl::fromLocalFile(outside.path())});
    } else {
        if (gesture.startsWith("click then ")) {
            if (gesture.contains("double"))
                QTest::mouseDClick(quick, Qt::LeftButton, {}, centre(row));
            else
                QTest::mouseClick(quick, Qt::LeftButton, {}, centre(row));
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
    QTEST(names(dir.path()), "after");
    QStringList listed;
    for (const QVariant& item : browser->items())
        listed << item.toMap().value("name").toString();
    listed.sort();
    QTEST(listed, "after");
    QFETCH(QString, toast);
    QCOMPARE(browser->toasts, toast.isEmpty() ? QStringList() : QStringList{toast});
}

QTEST_MAIN(TestFileBrowserView)
#include "tst_file_browser_view.moc"
