// The type rules as one table: symbol, tint, thumbnail eligibility and the editor decision.
#include <QtTest>

#include "file_manager/file_types.h"

using namespace brisko;

class TestFileTypes : public QObject {
    Q_OBJECT

  private slots:
    void rules_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isDir");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("tint");
        QTest::addColumn<bool>("image");
        QTest::addColumn<bool>("editable");
        const auto row = [](const char* tag, const char* name, bool dir, const char* symbol, const char* tint,
                            bool image, bool editable) {
            QTest::newRow(tag) << QString::fromUtf8(name) << dir << symbol << tint << image << editable;
        };
        row("folder beats its extension", "backup.zip", true, "folder.fill", "systemBlue", false, false);
        row("go", "main.go", false, "chevron.left.forwardslash.chevron.right", "systemCyan", false, true);
        row("json upper case", "Config.JSON", false, "curlybraces", "systemYellow", false, true);
        row("yml", "a.yml", false, "list.bullet.indent", "systemPurple", false, true);
        row("yaml", "a.yaml", false, "list.bullet.indent", "systemPurple", false, true);
        row("ini", "config.ini", false, "gearshape", "systemGray", false, true);
        row("conf", "x.conf", false, "gearshape", "systemGray", false, true);
        row("zip", "Backup.ZIP", false, "doc.zipper", "systemOrange", false, false);
        row("log", "run.log", false, "doc.text.magnifyingglass", "systemGreen", false, true);
        row("jpg upper case", "PHOTO.JPG", false, "photo", "systemGray", true, false);
        row("jpeg", "a.jpeg", false, "photo", "systemGray", true, false);
        row("png", "a.png", false, "photo", "systemGray", true, false);
        row("bmp is an image without the photo symbol", "scan.bmp", false, "doc", "systemGray", true, false);
        row("other editable", "page.html", false, "doc.text", "systemGray", false, true);
        row("plist", "Info.plist", false, "doc.text", "systemGray", false, true);
        row("last extension counts", "archive.zip.txt", false, "doc.text", "systemGray", false, true);
        row("no dot", "Makefile", false, "doc", "systemGray", false, false);
        row("dot in a folder part only", "v1.2/README", false, "doc", "systemGray", false, false);
        row("trailing dot", "name.", false, "doc", "systemGray", false, false);
        row("hidden with extension", ".env.sh", false, "doc.text", "systemGray", false, true);
        row("unknown", "firmware.bin", false, "doc", "systemGray", false, false);
    }

    void rules() {
        QFETCH(QString, name);
        QFETCH(bool, isDir);
        QTEST(BKFileIcon(name, isDir), "symbol");
        QTEST(BKFileColor(name, isDir), "tint");
        QTEST(BKIsImagePath(name), "image");
        QTEST(BKIsEditable(BKPathExtension(name)), "editable");
    }

    void editableTakesAnExtension() {
        QVERIFY(BKIsEditable("TXT"));
        for (const char* notAnExtension : {"notes.txt", ".txt", ""})
            QVERIFY2(!BKIsEditable(notAnExtension), notAnExtension);
    }
};

QTEST_GUILESS_MAIN(TestFileTypes)
#include "tst_file_types.moc"
