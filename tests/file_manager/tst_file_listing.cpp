// Listing over real folders: order, hidden names, links, details, and names that are not text.
#include <QtTest>

#include "file_manager/file_listing.h"
#include "file_manager/file_names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace brisko;

namespace {

// "name/" makes a folder, "name->target" a symbolic link, anything else a file; names are bytes.
void make(const QByteArray& root, const QByteArray& entry) {
    const qsizetype arrow = entry.indexOf("->");
    if (arrow > 0) {
        QVERIFY(::symlink(entry.mid(arrow + 2).constData(), (root + '/' + entry.left(arrow)).constData()) ==
                0);
    } else if (entry.endsWith('/')) {
        QVERIFY(::mkdir((root + '/' + entry.chopped(1)).constData(), 0755) == 0);
    } else {
        const int fd = ::open((root + '/' + entry).constData(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        QVERIFY(fd >= 0);
        ::close(fd);
    }
}

QStringList names(const QVariantList& items) {
    QStringList out;
    for (const QVariant& item : items)
        out << item.toMap().value("name").toString() + (item.toMap().value("isDir").toBool() ? "/" : "");
    return out;
}

} // namespace

class TestFileListing : public QObject {
    Q_OBJECT

  private slots:
    void listing_data() {
        QTest::addColumn<QByteArrayList>("entries");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("folders first, caseless")
            << QByteArrayList{"d.txt", "b/", "B.txt", "A/"} << QStringList{"A/", "b/", "B.txt", "d.txt"};
        QTest::newRow("no numeric order")
            << QByteArrayList{"a9", "a10", "A1"} << QStringList{"A1", "a10", "a9"};
        QTest::newRow("hidden names left out") << QByteArrayList{".git/", ".env", "x"} << QStringList{"x"};
        QTest::newRow("only hidden") << QByteArrayList{".a", ".b/"} << QStringList{};
        QTest::newRow("case folding beyond ASCII")
            << QByteArrayList{"ßb", "SSa", "Été", "eu"} << QStringList{"eu", "Été", "SSa", "ßb"};
        QTest::newRow("canonical equivalence") // é precomposed and e + combining acute sort as one
            << QByteArrayList{"éb", "e\u0301a", "ec"} << QStringList{"ec", "éa", "éb"};
        QTest::newRow("links followed for the folder test")
            << QByteArrayList{"real/", "tofolder->real", "tofile->f", "f", "dangling->nowhere"}
            << QStringList{"real/", "tofolder/", "dangling", "f", "tofile"};
    }

    void listing() {
        QFETCH(QByteArrayList, entries);
        QFETCH(QStringList, shown);
        QTemporaryDir dir;
        for (const QByteArray& entry : entries)
            make(QFile::encodeName(dir.path()), entry);
        QStringList listed = names(BKListFolder(dir.path()));
        // NFD input shows as the bytes it has; compare composed.
        for (QString& name : listed)
            name = name.normalized(QString::NormalizationForm_C);
        QCOMPARE(listed, shown);
    }

    void detailLines() {
        QTemporaryDir dir;
        const QByteArray root = QFile::encodeName(dir.path());
        make(root, "sub/");
        for (const char* child : {"sub/.h1", "sub/.h2/", "sub/v", "f1536", "link->f1536"})
            make(root, child);
        QFile f(dir.filePath("f1536"));
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write(QByteArray(1536, 'x')) == 1536);
        f.flush();
        const QDateTime when(QDate(2024, 2, 29), QTime(23, 59, 30));
        QVERIFY(f.setFileTime(when, QFileDevice::FileModificationTime));
        f.close();
        const QVariantList items = BKListFolder(dir.path() + "/"); // a trailing "/" still joins once
        QCOMPARE(items.size(), 3);
        QCOMPARE(items[0].toMap().value("detail").toString().section(" · ", 0, 0), QString("3 项"));
        QCOMPARE(items[1].toMap().value("detail").toString(), QString("1536 字节 · 2024-02-29 23:59"));
        QCOMPARE(items[1].toMap().value("path").toString(), dir.path() + "/f1536");
        // The link's own size, not its target's.
        QCOMPARE(items[2].toMap().value("detail").toString().section(" · ", 0, 0), QString("5 字节"));
        QCOMPARE(items[0].toMap().keys(), QStringList({"detail", "isDir", "name", "path"}));
    }

    void unreadableFolderIsEmpty() {
        QCOMPARE(BKListFolder("/nonexistent/brisko").size(), 0);
        QTemporaryDir dir;
        make(QFile::encodeName(dir.path()), "locked/");
        ::chmod(QFile::encodeName(dir.filePath("locked")).constData(), 0);
        if (::geteuid() != 0) // root reads it anyway
            QCOMPARE(BKListFolder(dir.path()).first().toMap().value("detail").toString().section(" · ", 0, 0),
                     QString("0 项"));
        ::chmod(QFile::encodeName(dir.filePath("locked")).constData(), 0755);
    }

    void namesRoundTrip_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("newline") << QByteArray("two\nlines.txt");
        QTest::newRow("invalid UTF-8") << QByteArray("caf\xE9 \xFF\xC3.txt");
        QTest::newRow("truncated sequence at end") << QByteArray("x\xE4\xB8");
        QTest::newRow("encoded surrogate") << QByteArray("\xED\xB2\x80.txt");
        QTest::newRow("percent and middle dot") << QByteArray("100% \xC2\xB7 %1 %@.txt");
        QTest::newRow("255 bytes") << QByteArray(252, 'n') + ".md";
        QTest::newRow("emoji") << QByteArray("\xF0\x9F\x98\x80.png");
    }

    void namesRoundTrip() {
        QFETCH(QByteArray, bytes);
        QTemporaryDir dir;
        make(QFile::encodeName(dir.path()), bytes);
        const QVariantList items = BKListFolder(dir.path());
        QCOMPARE(items.size(), 1);
        const QString path = items[0].toMap().value("path").toString();
        QCOMPARE(BKEncodeFileName(path), QFile::encodeName(dir.path()) + '/' + bytes);
        QVERIFY(items[0].toMap().value("detail").toString().startsWith("0 字节 · "));
        QVERIFY(::unlink(BKEncodeFileName(path).constData()) == 0); // QTemporaryDir cannot name it
    }
};

QTEST_GUILESS_MAIN(TestFileListing)
#include "tst_file_listing.moc"
