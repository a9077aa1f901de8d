#include "file_manager/editor/FBTextEditorViewController.h"
#include "file_manager/editor/PlainTextArea.h"
#include "file_manager/editor/text_file.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "tests/support/alerts.h"
#include "tests/support/test_files.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QtTest>

using namespace brisko;
using namespace brisko::testing;

namespace {

// The editor with its file loaded and the toasts it shows recorded.
class ScriptedEditor : public FBTextEditorViewController {
  public:
    explicit ScriptedEditor(const QString& path) : FBTextEditorViewController(path) { loadFile(); }
    void type(const QString& text) {
        QTextCursor cursor(document());
        cursor.select(QTextCursor::Document);
        cursor.insertText(text);
    }
    QStringList toasts;

  protected:
    void showToast(const QString& text) override { toasts << text; }
};

// A step is a character to type or a key sequence ("Ctrl+Z"). Returns whether the area took it.
bool press(PlainTextArea& area, const QString& step) {
    const bool typed = step.size() == 1;
    const QKeyCombination key =
        typed ? QKeyCombination(Qt::Key(step[0].toUpper().unicode())) : QKeySequence::fromString(step)[0];
    QKeyEvent event(QEvent::KeyPress, key.key(), key.keyboardModifiers(), typed ? step : QString());
    QCoreApplication::sendEvent(&area, &event);
    return event.isAccepted();
}

} // namespace

class TextEditorTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

  private slots:
    void cleanup() { dismissAllAlerts(); }

    // What is not UTF-8 opens read-only and is never written back.
    void opensAndSavesUnchanged_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("editable");
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("utf-8 with crlf") << QByteArray("#!/bin/sh\r\necho \"开始\" -- 'x'\r\n") << true;
        QTest::newRow("no final newline") << QByteArray("print(1)") << true;
        QTest::newRow("no-break space and tab") << QByteArray("a\u00a0b\tc\n\n") << true;
        QTest::newRow("binary plist") << QByteArray("bplist00\xd4\x01\x02\xff\xfe\x00", 14) << false;
        QTest::newRow("latin-1") << QByteArray("caf\xe9") << false;
        QTest::newRow("truncated sequence") << QByteArray("\xe6\x97") << false;
        QTest::newRow("surrogate half") << QByteArray("\xed\xa0\x80") << false;
    }
    void opensAndSavesUnchanged() {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, editable);
        const QString path = m_dir.filePath("file.txt");
        QVERIFY(writeFile(path, bytes));
        ScriptedEditor editor(path);
        QCOMPARE(editor.readOnly(), !editable);
        QCOMPARE(editor.notice().isEmpty(), editable);
        QCOMPARE(editor.rightBarItems().isEmpty(), !editable);
        QCOMPARE(editor.doSave() && editor.doSave(), editable);
        QCOMPARE(editor.toasts, editable ? QStringList({"已保存", "已保存"}) : QStringList());
        QCOMPARE(readFile(path), bytes);
    }

    void keysEdit_data() {
        QTest::addColumn<bool>("readOnly");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QString>("text");
        QTest::newRow("typing") << false << QStringList{"x", "-", "-", "\""} << "x--\"ab\ncd";
        QTest::newRow("end, backspace") << false << QStringList{"End", "Backspace"} << "a\ncd";
        QTest::newRow("down a line") << false << QStringList{"Down", "y"} << "ab\nycd";
        QTest::newRow("return") << false << QStringList{"Return"} << "\nab\ncd";
        QTest::newRow("undo") << false << QStringList{"x", "y", "Ctrl+Z"} << "ab\ncd";
        QTest::newRow("redo") << false << QStringList{"x", "Ctrl+Z", "Ctrl+Shift+Z"} << "xab\ncd";
        QTest::newRow("select all, cut") << false << QStringList{"Ctrl+A", "Ctrl+X"} << "";
        QTest::newRow("read-only") << true << QStringList{"x", "Backspace", "Return", "Ctrl+V"} << "ab\ncd";
    }
    void keysEdit() {
        QFETCH(bool, readOnly);
        QFETCH(QStringList, steps);
        QFETCH(QString, text);
        QTextDocument document("ab\ncd");
        PlainTextArea area;
        area.setDocument(&document);
        area.setProperty("readOnly", readOnly);
        QGuiApplication::clipboard()->setText("pasted");
        for (const QString& step : steps)
            QVERIFY2(press(area, step) == (!readOnly || step == QLatin1String("Ctrl+A")), qPrintable(step));
        QCOMPARE(document.toPlainText(), text);
    }

    // Saving and finding are the screen's shortcuts, not the text's.
    void shortcutsPassThrough_data() {
        QTest::addColumn<QString>("sequence");
        QTest::addColumn<bool>("claimed");
        QTest::newRow("save") << "Ctrl+S" << false;
        QTest::newRow("find") << "Ctrl+F" << false;
        QTest::newRow("copy") << "Ctrl+C" << true;
        QTest::newRow("undo") << "Ctrl+Z" << true;
    }
    void shortcutsPassThrough() {
        QFETCH(QString, sequence);
        QFETCH(bool, claimed);
        QTextDocument document;
        PlainTextArea area;
        area.setDocument(&document);
        const QKeyCombination key = QKeySequence::fromString(sequence)[0];
        QKeyEvent event(QEvent::ShortcutOverride, key.key(), key.keyboardModifiers());
        event.ignore();
        QCoreApplication::sendEvent(&area, &event);
        QCOMPARE(event.isAccepted(), claimed);
    }

    void savingKeepsPermissionsAndRecreatesADeletedFile() {
        const QString path = m_dir.filePath("run.sh");
        QVERIFY(writeFile(path, "old"));
        const auto mode = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
                          QFileDevice::ReadGroup | QFileDevice::ExeGroup;
        QVERIFY(QFile::setPermissions(path, mode));
        ScriptedEditor editor(path);
        editor.type("new");
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
        const QString notAFolder = m_dir.filePath("plain");
        QVERIFY(writeFile(notAFolder, "x"));
        ScriptedEditor editor(notAFolder + "/a.txt");
        editor.type("keep me");
        editor.doSave();
        ui::AlertController* alert = ui::AlertController::topPresented();
        QVERIFY(alert);
        QCOMPARE(alert->title(), QString("保存失败"));
        QVERIFY(!alert->message().isEmpty());
        QCOMPARE(alert->actionTitles(), QStringList{"确定"});
        QVERIFY(editor.toasts.isEmpty());
        QVERIFY(editor.modified());
        QVERIFY(alert->tapAction(QString("确定")));
        QCOMPARE(editor.text(), QString("keep me"));
    }

    void missingFileOpensEmptyAndEditable() {
        const TextFileContents contents = loadTextFile(m_dir.filePath("absent"));
        QCOMPARE(contents.status, TextFileContents::Status::Unreadable);
        ScriptedEditor editor(m_dir.filePath("absent"));
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
        const QString path = m_dir.filePath("guard.txt");
        QVERIFY(writeFile(path, "original"));
        auto* root = new ui::ViewController;
        ui::NavigationController nav(root);
        QPointer<ScriptedEditor> editor = new ScriptedEditor(path);
        nav.pushViewController(editor, false);
        nav.backButtonTapped(); // nothing to save: leaves at once
        QCOMPARE(nav.topViewController(), root);
        editor = new ScriptedEditor(path);
        nav.pushViewController(editor, false);
        editor->type("edited");
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
