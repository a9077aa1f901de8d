// The browser's flows without rendering: taps, dialogs, toasts, and extraction in the background.
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include "file_manager/FBFileBrowserViewController.h"
#include "file_manager/editor/FBTextEditorViewController.h"
#include "platform/ui/AlertController.h"
#include "zip/zip_builder.h"

using namespace brisko;
using ui::AlertController;

namespace {

// What the browser showed, kept beyond the browser's life.
QStringList g_shown;

class Browser : public FBFileBrowserViewController {
  public:
    using FBFileBrowserViewController::FBFileBrowserViewController;
    QList<ViewController*> pushed;
    ~Browser() override { qDeleteAll(pushed); }

  protected:
    void showToast(const QString& text) override { g_shown << "toast " + text; }
    void showLoading(const QString& text) override { g_shown << "loading " + text; }
    void dismissLoading() override { g_shown << "dismiss"; }
    void pushViewController(ui::ViewController* controller) override { pushed << controller; }
};

void write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

int rowNamed(const FBFileBrowserViewController& b, const QString& name) {
    for (int i = 0; i < b.items().size(); ++i)
        if (b.items()[i].toMap().value("name") == name) return i;
    return -1;
}

// The top alert as "title|message|action,action".
QString topAlert() {
    AlertController* a = AlertController::topPresented();
    return a ? a->title() + "|" + a->message() + "|" + a->actionTitles().join(",") : QString();
}

void tap(const QString& action, const QString& field = QString()) {
    AlertController* a = AlertController::topPresented();
    QVERIFY(a);
    if (!field.isNull()) a->setTextFieldText(0, field);
    QVERIFY(a->tapAction(action));
}

} // namespace

class TestFileBrowser : public QObject {
    Q_OBJECT
  private slots:
    void init();
    void cleanup();
    void tapOnRow_data();
    void tapOnRow();
    void createAndCollide_data();
    void createAndCollide();
    void deleteRemovesRowEvenOnFailure();
    void importCountsCopies();
    void unzipReportsAndRelists();
    void unzipOutlivesTheBrowser();

  private:
    QTemporaryDir* dir_ = nullptr;
};

void TestFileBrowser::init() {
    g_shown.clear();
    dir_ = new QTemporaryDir;
    write(dir_->filePath("Backup.ZIP"), ziptest::build({ziptest::stored("inside.txt", "in")}));
    write(dir_->filePath("notes.TXT"), "n");
    write(dir_->filePath("photo.png"), "not really");
    write(dir_->filePath("sub/child"), "c");
}

void TestFileBrowser::cleanup() {
    while (AlertController* a = AlertController::topPresented())
        ui::dismissAlert(a);
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    delete dir_;
}

void TestFileBrowser::tapOnRow_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("alert"); // "" when a screen is pushed instead
    QTest::newRow("folder pushes a browser") << "sub"
                                             << "";
    QTest::newRow("editable file pushes the editor") << "notes.TXT"
                                                     << "";
    QTest::newRow("zip in any case prompts") << "Backup.ZIP"
                                             << "Backup.ZIP||解压,取消";
    QTest::newRow("image shows its facts") << "photo.png"
                                           << "photo.png|10 字节 · %1|确定";
}

void TestFileBrowser::tapOnRow() {
    QFETCH(QString, name);
    QFETCH(QString, alert);
    Browser b(dir_->path());
    b.loadContents();
    const int row = rowNamed(b, name);
    QVERIFY(row >= 0);
    b.didSelectRow(row);
    if (alert.isEmpty()) {
        QCOMPARE(b.pushed.size(), 1);
        if (auto* editor = qobject_cast<FBTextEditorViewController*>(b.pushed.first())) {
            QCOMPARE(editor->filePath(), dir_->filePath(name));
            return;
        }
        auto* child = qobject_cast<FBFileBrowserViewController*>(b.pushed.first());
        QVERIFY(child);
        QCOMPARE(child->dirPath(), dir_->filePath("sub"));
        QCOMPARE(child->title(), QString("sub"));
        return;
    }
    const QString date = b.items()[row].toMap().value("detail").toString().section(" · ", 1);
    QCOMPARE(topAlert(), alert.contains("%1") ? alert.arg(date) : alert);
    QVERIFY(b.pushed.isEmpty());
}

void TestFileBrowser::createAndCollide_data() {
    QTest::addColumn<bool>("isDir");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("new file") << false << "main.go"
                              << "toast 已创建「main.go」";
    QTest::newRow("nested folder") << true << "x/y"
                                   << "toast 已创建「x/y」";
    QTest::newRow("existing file") << false << "notes.TXT"
                                   << "alert 同名项目已存在";
    QTest::newRow("folder over a file") << true << "photo.png"
                                        << "alert 同名项目已存在";
    QTest::newRow("percent in a name") << false << "%1 %2.txt"
                                       << "toast 已创建「%1 %2.txt」";
}

void TestFileBrowser::createAndCollide() {
    QFETCH(bool, isDir);
    QFETCH(QString, name);
    QFETCH(QString, shown);
    Browser b(dir_->path());
    b.loadContents();
    const int before = int(b.items().size());
    b.barItemTapped("add");
    QCOMPARE(topAlert(), QString("||导入文件,新建文件,新建文件夹,取消"));
    tap(isDir ? "新建文件夹" : "新建文件");
    QCOMPARE(topAlert(), isDir ? QString("新建文件夹||取消,创建") : QString("新建文件||取消,创建"));
    tap("创建", name);
    if (shown.startsWith("alert")) {
        QCOMPARE(topAlert(), "|" + shown.mid(6) + "|确定");
        QVERIFY(g_shown.isEmpty());
        QCOMPARE(b.items().size(), before);
    } else {
        QCOMPARE(g_shown, QStringList{shown});
        QCOMPARE(b.items().size(), before + 1);
    }
}

void TestFileBrowser::deleteRemovesRowEvenOnFailure() {
    Browser b(dir_->path());
    b.loadContents();
    const int row = rowNamed(b, "sub");
    QVERIFY(QDir(dir_->filePath("sub")).removeRecursively()); // gone behind the browser's back
    b.deleteItemAtIndex(row);
    QCOMPARE(topAlert(), QString("确认删除|删除「sub」？此操作不可撤销|取消,删除"));
    tap("取消");
    QCOMPARE(rowNamed(b, "sub"), row);
    b.deleteItemAtIndex(row);
    tap("删除");
    QCOMPARE(rowNamed(b, "sub"), -1);
    QCOMPARE(b.items().size(), 3);
}

void TestFileBrowser::importCountsCopies() {
    Browser b(dir_->path());
    QTemporaryDir picked;
    write(picked.filePath("a.txt"), "a");
    write(picked.filePath("b.txt"), "b");
    QSignalSpy requested(&b, &FBFileBrowserViewController::importRequested);
    b.barItemTapped("add");
    tap("导入文件");
    QCOMPARE(requested.size(), 1);
    b.importPaths({QUrl::fromLocalFile(picked.filePath("a.txt")).toString(), picked.filePath("b.txt"),
                   picked.filePath("missing"), "https://example.com/c.txt"});
    QCOMPARE(g_shown, QStringList{"toast 已导入 2 个文件"});
    QVERIFY(rowNamed(b, "a.txt") >= 0 && rowNamed(b, "b.txt") >= 0);
    b.importPaths({picked.filePath("missing")});
    QCOMPARE(g_shown.size(), 1); // nothing imported, nothing said
}

void TestFileBrowser::unzipReportsAndRelists() {
    write(dir_->filePath("bad.zip"), "PK but no end record");
    Browser b(dir_->path());
    b.loadContents();
    QSignalSpy finished(&b, &FBFileBrowserViewController::unzipFinished);
    for (const QString& archive : {QString("Backup.ZIP"), QString("bad.zip")}) {
        b.didSelectRow(rowNamed(b, archive));
        tap("解压");
        QVERIFY(finished.wait(10000));
    }
    QCOMPARE(g_shown, QStringList({"loading 解压中...", "dismiss", "toast 解压完成", "loading 解压中...",
                                   "dismiss", "toast 解压失败"}));
    QVERIFY(rowNamed(b, "inside.txt") >= 0);
}

void TestFileBrowser::unzipOutlivesTheBrowser() {
    auto* b = new Browser(dir_->path());
    b->loadContents();
    b->didSelectRow(rowNamed(*b, "Backup.ZIP"));
    tap("解压");
    delete b; // popped while the extraction runs
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    QCOMPARE(g_shown, QStringList{"loading 解压中..."});
    QFile inside(dir_->filePath("inside.txt"));
    QVERIFY(inside.open(QIODevice::ReadOnly));
    QCOMPARE(inside.readAll(), QByteArray("in"));
}

QTEST_MAIN(TestFileBrowser)
#include "tst_file_browser.moc"
