// Each operation on real files: what it changes, and what it must leave alone when it fails.
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include "file_manager/file_names.h"
#include "file_manager/file_operations.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace brisko;

class TestFileOperations : public QObject {
    Q_OBJECT
  private slots:
    void create_data();
    void create();
    void importReplaces_data();
    void importReplaces();
    void failedImportKeepsTheOldEntry();
    void renameNeverReplaces_data();
    void renameNeverReplaces();
    void removeTakesFoldersButNotLinkTargets();
    void hostileNamesOperate();
};

namespace {

void write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

QByteArray read(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

// Everything under root, hidden names included: temporaries must not be left behind.
QStringList tree(const QString& root) {
    QStringList out;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        out << QDir(root).relativeFilePath(path) + (QFileInfo(path).isDir() ? "/" : "");
    }
    out.sort();
    return out;
}

} // namespace

void TestFileOperations::create_data() {
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
    QTest::newRow("file over a folder") << QStringList{"d/"} << "d" << false << exists << QStringList{"d/"};
    QTest::newRow("nested folder") << QStringList{} << "x/y" << true << created << QStringList{"x/", "x/y/"};
    QTest::newRow("file in a missing folder")
        << QStringList{} << "x/y.txt" << false << failed << QStringList{};
    QTest::newRow("hidden file") << QStringList{} << ".env" << false << created << QStringList{".env"};
}

void TestFileOperations::create() {
    QFETCH(QStringList, before);
    QFETCH(QString, name);
    QFETCH(bool, isDir);
    QTemporaryDir dir;
    for (const QString& entry : before)
        entry.endsWith('/') ? (void)QDir(dir.path()).mkpath(entry) : write(dir.filePath(entry), "old");
    QTEST(int(BKCreateItem(dir.path(), name, isDir)), "outcome");
    QTEST(tree(dir.path()), "after");
    if (!isDir && before.contains(name)) QCOMPARE(read(dir.filePath(name)), QByteArray("old"));
    QFETCH(int, outcome);
    if (!isDir && outcome == int(CreateOutcome::Created)) QCOMPARE(QFileInfo(dir.filePath(name)).size(), 0);
}

void TestFileOperations::importReplaces_data() {
    QTest::addColumn<QString>("existing"); // "" none, "file", "folder"
    QTest::newRow("new name") << "";
    QTest::newRow("over a file") << "file";
    QTest::newRow("over a folder") << "folder";
}

void TestFileOperations::importReplaces() {
    QFETCH(QString, existing);
    QTemporaryDir dir;
    const QString docs = dir.filePath("docs");
    QDir().mkpath(docs);
    write(dir.filePath("picked/a.txt"), "new");
    write(dir.filePath("picked/b.bin"), "bee");
    if (existing == "file") write(docs + "/a.txt", "old");
    if (existing == "folder") write(docs + "/a.txt/inner", "old");
    const QStringList sources{dir.filePath("picked/a.txt"), dir.filePath("picked/b.bin"),
                              dir.filePath("picked/missing"), dir.filePath("picked")};
    QCOMPARE(BKImportFiles(docs, sources), 2); // a folder and a missing file are not counted
    QCOMPARE(tree(docs), QStringList({"a.txt", "b.bin"}));
    QCOMPARE(read(docs + "/a.txt"), QByteArray("new"));
    QCOMPARE(read(dir.filePath("picked/a.txt")), QByteArray("new")); // a copy, not a move
}

void TestFileOperations::failedImportKeepsTheOldEntry() {
    QTemporaryDir dir;
    write(dir.filePath("docs/a.txt"), "old");
    write(dir.filePath("docs/d/inner"), "old inner");
    QDir().mkpath(dir.filePath("picked"));
    // A regular file whose read fails part-way, for root too.
    for (const char* name : {"picked/a.txt", "picked/d"})
        QVERIFY(::symlink("/proc/self/mem", QFile::encodeName(dir.filePath(name)).constData()) == 0);
    QCOMPARE(BKImportFiles(dir.filePath("docs"), {dir.filePath("picked/a.txt"), dir.filePath("picked/d")}),
             0);
    QCOMPARE(tree(dir.filePath("docs")), QStringList({"a.txt", "d/", "d/inner"}));
    QCOMPARE(read(dir.filePath("docs/a.txt")), QByteArray("old"));
}

void TestFileOperations::renameNeverReplaces_data() {
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("moved");
    QTest::newRow("free name") << "c.txt" << true;
    QTest::newRow("existing file") << "b.txt" << false;
    QTest::newRow("existing folder") << "d" << false;
    QTest::newRow("dangling link") << "link" << false;
}

void TestFileOperations::renameNeverReplaces() {
    QFETCH(QString, target);
    QFETCH(bool, moved);
    QTemporaryDir dir;
    write(dir.filePath("a.txt"), "a");
    write(dir.filePath("b.txt"), "b");
    QDir(dir.path()).mkdir("d");
    QVERIFY(::symlink("nowhere", QFile::encodeName(dir.filePath("link")).constData()) == 0);
    QCOMPARE(BKRenameItem(dir.filePath("a.txt"), dir.filePath(target)), moved);
    QCOMPARE(read(dir.filePath("a.txt")), moved ? QByteArray("<missing>") : QByteArray("a"));
    if (target == "b.txt") QCOMPARE(read(dir.filePath("b.txt")), QByteArray("b"));
}

void TestFileOperations::removeTakesFoldersButNotLinkTargets() {
    QTemporaryDir dir;
    write(dir.filePath("keep/precious"), "mine");
    write(dir.filePath("gone/sub/deep.txt"), "x");
    QVERIFY(::symlink(QFile::encodeName(dir.filePath("keep")).constData(),
                      QFile::encodeName(dir.filePath("gone/sub/tokeep")).constData()) == 0);
    QVERIFY(BKRemoveItem(dir.filePath("gone")));
    QVERIFY(!BKRemoveItem(dir.filePath("gone")));
    QCOMPARE(tree(dir.path()), QStringList({"keep/", "keep/precious"}));
}

void TestFileOperations::hostileNamesOperate() {
    QTemporaryDir dir;
    const QString odd = BKDecodeFileName(QByteArray("bad\xFF\nname %1 \xC2\xB7"));
    QCOMPARE(BKCreateItem(dir.path(), odd, false), CreateOutcome::Created);
    QCOMPARE(::access((QFile::encodeName(dir.path()) + "/bad\xFF\nname %1 \xC2\xB7").constData(), F_OK), 0);
    const QString renamed = odd + "2";
    QVERIFY(BKRenameItem(BKJoinPath(dir.path(), odd), BKJoinPath(dir.path(), renamed)));
    QVERIFY(BKRemoveItem(BKJoinPath(dir.path(), renamed)));
    QCOMPARE(tree(dir.path()), QStringList{});
}

QTEST_GUILESS_MAIN(TestFileOperations)
#include "tst_file_operations.moc"
