// Each operation on real files: what it changes, and what it must leave alone when it fails.
#include <QtTest>

#include "file_manager/file_names.h"
#include "file_manager/file_operations.h"
#include "tests/support/test_files.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace brisko;
using namespace brisko::testing;

class TestFileOperations : public QObject {
    Q_OBJECT
  private slots:
    void create_data() {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isDir");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QStringList>("after");
        const int created = int(CreateOutcome::Created), exists = int(CreateOutcome::AlreadyExists),
                  failed = int(CreateOutcome::Failed);
        QTest::newRow("file") << QStringList{} << "a.txt" << false << created << QStringList{"a.txt"};
        QTest::newRow("file over a file")
            << QStringList{"a.txt"} << "a.txt" << false << exists << QStringList{"a.txt"};
        QTest::newRow("folder over a file") << QStringList{"a"} << "a" << true << exists << QStringList{"a"};
        QTest::newRow("file over a folder")
            << QStringList{"d/"} << "d" << false << exists << QStringList{"d/"};
        QTest::newRow("nested folder")
            << QStringList{} << "x/y" << true << created << QStringList{"x/", "x/y/"};
        QTest::newRow("file in a missing folder")
            << QStringList{} << "x/y.txt" << false << failed << QStringList{};
        QTest::newRow("hidden file") << QStringList{} << ".env" << false << created << QStringList{".env"};
    }

    void create() {
        QFETCH(QStringList, before);
        QFETCH(QString, name);
        QFETCH(bool, isDir);
        QTemporaryDir dir;
        for (const QString& entry : before)
            entry.endsWith('/') ? (void)QDir(dir.path()).mkpath(entry)
                                : (void)writeFile(dir.filePath(entry), "old");
        QTEST(int(BKCreateItem(dir.path(), name, isDir)), "outcome");
        QTEST(fileTree(dir.path()), "after");
        if (!isDir && before.contains(name)) QCOMPARE(readFile(dir.filePath(name)), QByteArray("old"));
        QFETCH(int, outcome);
        if (!isDir && outcome == int(CreateOutcome::Created))
            QCOMPARE(QFileInfo(dir.filePath(name)).size(), 0);
    }

    void importReplaces_data() {
        QTest::addColumn<QString>("existing"); // "" none, "file", "folder"
        QTest::newRow("new name") << "";
        QTest::newRow("over a file") << "file";
        QTest::newRow("over a folder") << "folder";
    }

    void importReplaces() {
        QFETCH(QString, existing);
        QTemporaryDir dir;
        const QString docs = dir.filePath("docs");
        QDir().mkpath(docs);
        QVERIFY(writeFile(dir.filePath("picked/a.txt"), "new") &&
                writeFile(dir.filePath("picked/b.bin"), "bee"));
        if (existing == "file") QVERIFY(writeFile(docs + "/a.txt", "old"));
        if (existing == "folder") QVERIFY(writeFile(docs + "/a.txt/inner", "old"));
        const QStringList sources{dir.filePath("picked/a.txt"), dir.filePath("picked/b.bin"),
                                  dir.filePath("picked/missing"), dir.filePath("picked")};
        QCOMPARE(BKImportFiles(docs, sources), 2); // a folder and a missing file are not counted
        QCOMPARE(fileTree(docs), QStringList({"a.txt", "b.bin"}));
        QCOMPARE(readFile(docs + "/a.txt"), QByteArray("new"));
        QCOMPARE(readFile(dir.filePath("picked/a.txt")), QByteArray("new")); // a copy, not a move
    }

    void failedImportKeepsTheOldEntry() {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("docs/a.txt"), "old"));
        QVERIFY(writeFile(dir.filePath("docs/d/inner"), "old inner"));
        QDir().mkpath(dir.filePath("picked"));
        // A regular file whose read fails part-way, for root too.
        for (const char* name : {"picked/a.txt", "picked/d"})
            QVERIFY(::symlink("/proc/self/mem", QFile::encodeName(dir.filePath(name)).constData()) == 0);
        QCOMPARE(
            BKImportFiles(dir.filePath("docs"), {dir.filePath("picked/a.txt"), dir.filePath("picked/d")}), 0);
        QCOMPARE(fileTree(dir.filePath("docs")), QStringList({"a.txt", "d/", "d/inner"}));
        QCOMPARE(readFile(dir.filePath("docs/a.txt")), QByteArray("old"));
    }

    void renameNeverReplaces_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("moved");
        QTest::newRow("free name") << "c.txt" << true;
        QTest::newRow("existing file") << "b.txt" << false;
        QTest::newRow("existing folder") << "d" << false;
        QTest::newRow("dangling link") << "link" << false;
    }

    void renameNeverReplaces() {
        QFETCH(QString, target);
        QFETCH(bool, moved);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("a.txt"), "a") && writeFile(dir.filePath("b.txt"), "b"));
        QDir(dir.path()).mkdir("d");
        QVERIFY(::symlink("nowhere", QFile::encodeName(dir.filePath("link")).constData()) == 0);
        QCOMPARE(BKRenameItem(dir.filePath("a.txt"), dir.filePath(target)), moved);
        QCOMPARE(readFile(dir.filePath("a.txt")), moved ? QByteArray("<missing>") : QByteArray("a"));
        if (target == "b.txt") QCOMPARE(readFile(dir.filePath("b.txt")), QByteArray("b"));
    }

    void removeTakesFoldersButNotLinkTargets() {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("keep/precious"), "mine"));
        QVERIFY(writeFile(dir.filePath("gone/sub/deep.txt"), "x"));
        QVERIFY(::symlink(QFile::encodeName(dir.filePath("keep")).constData(),
                          QFile::encodeName(dir.filePath("gone/sub/tokeep")).constData()) == 0);
        QVERIFY(BKRemoveItem(dir.filePath("gone")));
        QVERIFY(!BKRemoveItem(dir.filePath("gone")));
        QCOMPARE(fileTree(dir.path()), QStringList({"keep/", "keep/precious"}));
    }

    void hostileNamesOperate() {
        QTemporaryDir dir;
        const QString odd = BKDecodeFileName(QByteArray("bad\xFF\nname %1 \xC2\xB7"));
        QCOMPARE(BKCreateItem(dir.path(), odd, false), CreateOutcome::Created);
        QCOMPARE(::access((QFile::encodeName(dir.path()) + "/bad\xFF\nname %1 \xC2\xB7").constData(), F_OK),
                 0);
        const QString renamed = odd + "2";
        QVERIFY(BKRenameItem(BKJoinPath(dir.path(), odd), BKJoinPath(dir.path(), renamed)));
        QVERIFY(BKRemoveItem(BKJoinPath(dir.path(), renamed)));
        QCOMPARE(fileTree(dir.path()), QStringList{});
    }
};

QTEST_GUILESS_MAIN(TestFileOperations)
#include "tst_file_operations.moc"
