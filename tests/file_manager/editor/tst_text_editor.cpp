#include "file_manager/editor/FBTextEditorViewController.h"
#include "file_manager/editor/text_file.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace brisko;

namespace {

// The editor with the view's part played by the test: it hands back `typed` when asked to save.
class ScriptedEditor : public FBTextEditorViewController {
  public:
    explicit ScriptedEditor(const QString& path) : FBTextEditorViewController(path) {
        connect(this, &FBTextEditorViewController::saveRequested, this, [this] { saveText(typed); });
        loadFile();
        typed = text();
    }
    void type(const QString& text) {
        typed = text;
        textEdited();
    }
    QString typed;
    QStringList toasts;

  protected:
    void showToast(const QString& text) override { toasts << text; }
};

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class TextEditorTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

  private slots:
    void cleanup() {
        for (ui::AlertController* alert = ui::AlertController::topPresented(); alert;
             alert = ui::AlertController::topPresented())
            alert->tapActionAt(0);
    }

    void roundTrips_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("utf-8 with crlf") << QByteArray("#!/bin/sh\r\necho \"开始\" -- 'x'\r\n");
        QTest::newRow("no final newline") << QByteArray("print(1)");
    }
    void roundTrips() {
        QFETCH(QByteArray, bytes);
        const QString path = m_dir.filePath(QStringLiteral("round.txt"));
        writeFile(path, bytes);
        ScriptedEditor editor(path);
        QVERIFY(!editor.readOnly());
        editor.doSave();
        editor.doSave();
        QCOMPARE(editor.toasts, (QStringList{"已保存", "已保存"}));
        QCOMPARE(readFile(path), bytes);
    }

    void savingKeepsPermissionsAndRecreatesADeletedFile() {
        const QString path = m_dir.filePath(QStringLiteral("run.sh"));
        writeFile(path, "old");
        const auto mode = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
                          QFileDevice::ReadGroup | QFileDevice::ExeGroup;
        QVERIFY(QFile::setPermissions(path, mode));
        ScriptedEditor editor(path);
        editor.type(QStringLiteral("new"));
        editor.doSave();
        QCOMPARE(readFile(path), QByteArray("new"));
        // Owner, group and other bits; the "user" bits only mirror the owner's.
        QCOMPARE(QFile::permissions(path) & 0x7077, mode);
        QVERIFY(QFile::remove(path));
        editor.doSave();
        QCOMPARE(readFile(path), QByteArray("new"));
    }

    void saveFailureAlertsAndKeepsTheText() {
        // A regular file where the folder should be fails for root too.
        const QString notAFolder = m_dir.filePath(QStringLiteral("plain"));
        writeFile(notAFolder, "x");
        ScriptedEditor editor(notAFolder + QStringLiteral("/a.txt"));
        editor.type(QStringLiteral("keep me"));
        editor.doSave();
        ui::AlertController* alert = ui::AlertController::topPresented();
        QVERIFY(alert);
        QCOMPARE(alert->title(), QStringLiteral("保存失败"));
        QVERIFY(!alert->message().isEmpty());
        QCOMPARE(alert->actionTitles(), QStringList{"确定"});
        QVERIFY(editor.toasts.isEmpty());
        QVERIFY(editor.modified());
        QVERIFY(alert->tapAction(QStringLiteral("确定")));
        QCOMPARE(editor.typed, QStringLiteral("keep me"));
    }

    void refusesFilesThatAreNotUtf8_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("binary plist") << QByteArray("bplist00\xd4\x01\x02\xff\xfe\x00", 14);
        QTest::newRow("latin-1") << QByteArray("caf\xe9");
        QTest::newRow("truncated sequence") << QByteArray("\xe6\x97");
        QTest::newRow("surrogate half") << QByteArray("\xed\xa0\x80");
    }
    void refusesFilesThatAreNotUtf8() {
        QFETCH(QByteArray, bytes);
        const QString path = m_dir.filePath(QStringLiteral("data.plist"));
        writeFile(path, bytes);
        ScriptedEditor editor(path);
        QVERIFY(editor.readOnly());
        QVERIFY(!editor.notice().isEmpty());
        QVERIFY(editor.rightBarItems().isEmpty());
        editor.type(QString());
        editor.doSave();
        QVERIFY(!editor.saveText(QString()));
        QCOMPARE(readFile(path), bytes);
    }

    void missingFileOpensEmptyAndEditable() {
        const TextFileContents contents = loadTextFile(m_dir.filePath(QStringLiteral("absent")));
        QCOMPARE(contents.status, TextFileContents::Status::Unreadable);
        ScriptedEditor editor(m_dir.filePath(QStringLiteral("absent")));
        QVERIFY(!editor.readOnly());
        QVERIFY(editor.text().isEmpty());
    }

    void unsavedChangesAskBeforeLeaving_data() {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("left");
        QTest::addColumn<QByteArray>("onDisk");
        QTest::newRow("save") << "保存" << true << QByteArray("edited");
        QTest::newRow("discard") << "不保存" << true << QByteArray("original");
        QTest::newRow("cancel") << "取消" << false << QByteArray("original");
    }
    void unsavedChangesAskBeforeLeaving() {
        QFETCH(QString, answer);
        QFETCH(bool, left);
        QFETCH(QByteArray, onDisk);
        const QString path = m_dir.filePath(QStringLiteral("guard.txt"));
        writeFile(path, "original");
        auto* root = new ui::ViewController;
        ui::NavigationController nav(root);
        QPointer<ScriptedEditor> editor = new ScriptedEditor(path);
        nav.pushViewController(editor, false);
        nav.backButtonTapped(); // nothing to save: leaves at once
        QCOMPARE(nav.topViewController(), root);
        editor = new ScriptedEditor(path);
        nav.pushViewController(editor, false);
        editor->type(QStringLiteral("edited"));
        nav.backButtonTapped();
        QCOMPARE(nav.topViewController(), editor.data());
        ui::AlertController* alert = ui::AlertController::topPresented();
        QVERIFY(alert);
        QCOMPARE(alert->actionTitles(), (QStringList{"保存", "不保存", "取消"}));
        QVERIFY(alert->tapAction(answer));
        QCOMPARE(nav.topViewController() != editor.data(), left);
        QCOMPARE(readFile(path), onDisk);
    }
};

QTEST_MAIN(TextEditorTest)
#include "tst_text_editor.moc"
