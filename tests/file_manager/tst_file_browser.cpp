// The browser's flows without rendering: taps, dialogs, toasts, and extraction in the background.
#include <QSignalSpy>
#include <QtTest>

#include "file_manager/FBFileBrowserViewController.h"
#include "file_manager/editor/FBTextEditorViewController.h"
#include "tests/support/alerts.h"
#include "tests/support/test_files.h"
#include "zip/zip_builder.h"

using namespace brisko;
using namespace brisko::testing;

namespace {

// What the browser showed, kept beyond the browser's life.
QStringList g_shown;

class Browser : public FBFileBrowserViewController {
  public:
    explicit Browser(const QString& path) : FBFileBrowserViewController(path) { loadContents(); }
    QList<ViewController*> pushed;
    ~Browser() override { qDeleteAll(pushed); }
    int row(const QString& name) const {
        for (int i = 0; i < items().size(); ++i)
            if (items()[i].toMap().value("name") == name) return i;
        return -1;
    }

  protected:
    void showToast(const QString& text) override { g_shown << "toast " + text; }
    void showLoading(const QString& text) override { g_shown << "loading " + text; }
    void dismissLoading() override { g_shown << "dismiss"; }
    void pushViewController(ui::ViewController* controller) override { pushed << controller; }
};

} // namespace

class TestFileBrowser : public QObject {
    Q_OBJECT
    QTemporaryDir* dir_ = nullptr;

  private slots:
    void init() {
        g_shown.clear();
        dir_ = new QTemporaryDir;
        QVERIFY(
            writeFile(dir_->filePath("Backup.ZIP"), ziptest::build({ziptest::stored("inside.txt", "in")})));
        QVERIFY(writeFile(dir_->filePath("notes.TXT"), "n") &&
                writeFile(dir_->filePath("photo.png"), "not really"));
        QVERIFY(writeFile(dir_->filePath("sub/child"), "c"));
    }
    void cleanup() {
        dismissAllAlerts();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        delete dir_;
    }

    void tapOnRow_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("alert"); // "" when a screen is pushed instead
        const auto row = [](const char* tag, const char* name, const char* alert) {
            QTest::newRow(tag) << QString(name) << QString(alert);
        };
        row("folder pushes a browser", "sub", "");
        row("editable file pushes the editor", "notes.TXT", "");
        row("zip in any case prompts", "Backup.ZIP", "Backup.ZIP||解压,取消");
        row("image shows its facts", "photo.png", "photo.png|10 字节 · %1|确定");
    }
    void tapOnRow() {
        QFETCH(QString, name);
        QFETCH(QString, alert);
        Browser b(dir_->path());
        const int row = b.row(name);
        QVERIFY(row >= 0);
        b.didSelectRow(row);
        if (!alert.isEmpty()) {
            const QString date = b.items()[row].toMap().value("detail").toString().section(" · ", 1);
            QCOMPARE(topAlertText(), alert.contains("%1") ? alert.arg(date) : alert);
            QVERIFY(b.pushed.isEmpty());
            return;
        }
        QCOMPARE(b.pushed.size(), 1);
        if (auto* editor = qobject_cast<FBTextEditorViewController*>(b.pushed.first())) {
            QCOMPARE(editor->filePath(), dir_->filePath(name));
        } else {
            auto* child = qobject_cast<FBFileBrowserViewController*>(b.pushed.first());
            QVERIFY(child);
            QCOMPARE(child->dirPath(), dir_->filePath("sub"));
            QCOMPARE(child->title(), QString("sub"));
        }
    }

    void createAndCollide_data() {
        QTest::addColumn<bool>("isDir");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* name, bool isDir, const char* shown) {
            QTest::newRow(name) << isDir << QString(name) << QString(shown);
        };
        row("main.go", false, "toast 已创建「main.go」");
        row("x/y", true, "toast 已创建「x/y」");
        row("notes.TXT", false, "alert 同名项目已存在");
        row("photo.png", true, "alert 同名项目已存在"); // a folder over a file
        row("%1 %2.txt", false, "toast 已创建「%1 %2.txt」");
    }
    void createAndCollide() {
        QFETCH(bool, isDir);
        QFETCH(QString, name);
        QFETCH(QString, shown);
        Browser b(dir_->path());
        const int before = int(b.items().size());
        b.barItemTapped("add");
        QCOMPARE(topAlertText(), QString("||导入文件,新建文件,新建文件夹,取消"));
        QVERIFY(answerTopAlert(isDir ? "新建文件夹" : "新建文件"));
        QCOMPARE(topAlertText(), isDir ? QString("新建文件夹||取消,创建") : QString("新建文件||取消,创建"));
        QVERIFY(answerTopAlert("创建", name));
        const bool refused = shown.startsWith("alert");
        QCOMPARE(topAlertText(), refused ? "|" + shown.mid(6) + "|确定" : QString());
        QCOMPARE(g_shown, refused ? QStringList() : QStringList{shown});
        QCOMPARE(b.items().size(), before + (refused ? 0 : 1));
    }

    void deleteRemovesRowEvenOnFailure() {
        Browser b(dir_->path());
        const int row = b.row("sub");
        QVERIFY(QDir(dir_->filePath("sub")).removeRecursively()); // gone behind the browser's back
        b.deleteItemAtIndex(row);
        QCOMPARE(topAlertText(), QString("确认删除|删除「sub」？此操作不可撤销|取消,删除"));
        QVERIFY(answerTopAlert("取消"));
        QCOMPARE(b.row("sub"), row);
        b.deleteItemAtIndex(row);
        QVERIFY(answerTopAlert("删除"));
        QCOMPARE(b.row("sub"), -1);
        QCOMPARE(b.items().size(), 3);
    }

    void importCountsCopies() {
        Browser b(dir_->path());
        QTemporaryDir picked;
        QVERIFY(writeFile(picked.filePath("a.txt"), "a") && writeFile(picked.filePath("b.txt"), "b"));
        QSignalSpy requested(&b, &FBFileBrowserViewController::importRequested);
        b.barItemTapped("add");
        QVERIFY(answerTopAlert("导入文件"));
        QCOMPARE(requested.size(), 1);
        b.importPaths({QUrl::fromLocalFile(picked.filePath("a.txt")).toString(), picked.filePath("b.txt"),
                       picked.filePath("missing"), "https://example.com/c.txt"});
        QCOMPARE(g_shown, QStringList{"toast 已导入 2 个文件"});
        QVERIFY(b.row("a.txt") >= 0 && b.row("b.txt") >= 0);
        b.importPaths({picked.filePath("missing")});
        QCOMPARE(g_shown.size(), 1); // nothing imported, nothing said
    }

    void unzipReportsAndRelists() {
        QVERIFY(writeFile(dir_->filePath("bad.zip"), "PK but no end record"));
        Browser b(dir_->path());
        QSignalSpy finished(&b, &FBFileBrowserViewController::unzipFinished);
        for (const QString& archive : {QString("Backup.ZIP"), QString("bad.zip")}) {
            b.didSelectRow(b.row(archive));
            QVERIFY(answerTopAlert("解压"));
            QVERIFY(finished.wait(10000));
        }
        QCOMPARE(g_shown, QStringList({"loading 解压中...", "dismiss", "toast 解压完成", "loading 解压中...",
                                       "dismiss", "toast 解压失败"}));
        QVERIFY(b.row("inside.txt") >= 0);
    }

    void unzipOutlivesTheBrowser() {
        auto* b = new Browser(dir_->path());
        b->didSelectRow(b->row("Backup.ZIP"));
        QVERIFY(answerTopAlert("解压"));
        delete b; // popped while the extraction runs
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(g_shown, QStringList{"loading 解压中..."});
        QCOMPARE(readFile(dir_->filePath("inside.txt")), QByteArray("in"));
    }
};

QTEST_MAIN(TestFileBrowser)
#include "tst_file_browser.moc"
