// BKUnzipFile over the shared corpus of real-world and damaged archives (../shared/zip-corpus).
//
// Each row gives the extractor's result, the files and folders it leaves, their total size and a
// digest of the sorted "path<TAB>size<TAB>crc32" lines (see reference_unzip.py, an independent
// model of the extractor's rules that produced the expected values). The note says where our
// answer differs from what unzip, bsdtar or Python report (the corpus's EXPECTED.md), and why:
// the extractor trusts the end record's entry count and the recorded offsets, does not
// understand ZIP64, does not verify CRC-32, supports only stored and deflate, and writes plain
// files only.
//
// Every archive is unpacked into a fresh folder beside a folder that must stay untouched. The
// destination's file system is treated as nearly full, with 512 MiB of room (enough for the
// 65535 one-byte files, which take a 4 KiB page each), so that the 4 GiB entry of
// libzip__bigzero.zip stops early instead of filling the disk.
#include <QTemporaryDir>
#include <QtTest>
#include <sys/statvfs.h>
#include <zlib.h>

#include "file_manager/zip/unzip.h"
#include "zip_builder.h"

namespace {

struct Row {
    const char* archive;
    bool result;
    int files;
    int folders;
    qint64 bytes;
    const char* digest;
    const char* note;  // where the reference tools answer differently
};

const Row kRows[] = {
    {"go__comment-truncated.zip", true, 1, 0, 1, "079867b56abdd203", ""},
    {"go__dd.zip", true, 1, 0, 25, "c04d75bca3fe2053", "data descriptor never read: sizes come from the central directory"},
    {"go__dupdir.zip", true, 1, 1, 0, "74533648dae101b6", "a/b is written as a file, so a/b/c finds no folder a/b and yields nothing"},
    {"go__go-no-datadesc-sig.zip", true, 2, 0, 8, "3a724e94ec538b7b", ""},
    {"go__readme.notzip", false, 0, 0, 0, "e3b0c44298fc1c14", "no end record"},
    {"go__readme.zip", true, 1, 0, 1096, "3a91d2e83d3e40fe", ""},
    {"go__symlink.zip", true, 1, 0, 9, "ed46db62a82bf345", "a link entry becomes a plain file holding the link text (unzip makes a link)"},
    {"go__test-badbase.zip", true, 2, 0, 811, "0b4945661e92634c", "the recorded offsets still lead to intact headers: both entries (unzip, bsdtar, Python fail)"},
    {"go__test-baddirsz.zip", true, 2, 0, 811, "0b4945661e92634c", "the directory size is never read: both entries (bsdtar, Python fail)"},
    {"go__test-prefix.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "offsets are not shifted by the 43 prepended bytes: no local header found (others: 2 files)"},
    {"go__test-trailing-junk.zip", true, 2, 0, 811, "0b4945661e92634c", ""},
    {"go__test.zip", true, 2, 0, 811, "0b4945661e92634c", ""},
    {"go__unix.zip", true, 3, 1, 26, "2f0b4b83757fa61f", "no permissions applied (the read-only file is written with default permissions)"},
    {"go__utf8-osx.zip", true, 1, 0, 0, "fd482500ace6c78e", ""},
    {"go__winxp.zip", true, 3, 1, 26, "2f0b4b83757fa61f", ""},
    {"go__zip64.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "ZIP64 not understood: 0xFFFFFFFF sizes fail the bounds test (others: 36 B)"},
    {"libarchive__test_read_format_zip_extra_padding.zip", false, 0, 0, 0, "e3b0c44298fc1c14", "no end record (bsdtar reads it as a stream: 2 B)"},
    {"libarchive__test_read_format_zip_filename_cp866.zip", true, 2, 0, 12, "3e74a98de919913b", "names not UTF-8: read as ISO 8859-1, not CP866"},
    {"libarchive__test_read_format_zip_filename_cp932.zip", true, 2, 1, 10, "e48dbf868cc4cc70", "Shift-JIS names read as ISO 8859-1; their 0x5C bytes stay ordinary characters"},
    {"libarchive__test_read_format_zip_high_compression.zip", true, 1, 0, 262304, "ddd0ea7d8c18ef17", ""},
    {"libarchive__test_read_format_zip_length_at_end.zip", true, 1, 0, 6, "15af21e80e0703a4", ""},
    {"libarchive__test_read_format_zip_mac_metadata.zip", true, 2, 1, 295, "9e382b9aa2643a92", "__MACOSX/._file3 is an ordinary entry (bsdtar folds it into metadata)"},
    {"libarchive__test_read_format_zip_ppmd8.zipx", true, 0, 0, 0, "e3b0c44298fc1c14", "method 98 unsupported (bsdtar: 912 B)"},
    {"libarchive__test_read_format_zip_sfx", true, 0, 0, 0, "e3b0c44298fc1c14", "offsets are not shifted by the 1024-byte stub (others: 2 files)"},
    {"libarchive__test_read_format_zip_size_exceeds_declared_deflate.zip", true, 1, 0, 11, "19e15fb3169314f2", "first: inflates past its declared 10 B, no file; second extracts"},
    {"libarchive__test_read_format_zip_size_exceeds_declared_stored.zip", true, 2, 0, 31, "01e49505e378e836", "stored: the compressed size (20 B) is written, not the declared 10 B"},
    {"libarchive__test_read_format_zip_uncompressed_size_off_by_4gib.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "ZIP64 sizes not understood (others: 5 B)"},
    {"libarchive__test_read_format_zip_with_invalid_traditional_eocd.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "only the classic end record is read; its entries fail the bounds tests (ZIP64)"},
    {"libzip__bigzero.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "4 GiB entry: stopped at the free-space floor and deleted (it would also pass its declared 0xFFFFFFFF bytes)"},
    {"libzip__bogus.zip", false, 0, 0, 0, "e3b0c44298fc1c14", "11 bytes: shorter than an end record"},
    {"libzip__broken.zip", true, 4, 0, 106746, "9f6b4edb469cf141", "CRC-32 not verified: the two CRC-error entries extract; the zlib error and the encrypted deflate entry yield no file"},
    {"libzip__encrypt.zip", true, 2, 0, 20, "e1cc7c603f82d5ee", "not decrypted: the encrypted stored entry is written with its raw bytes"},
    {"libzip__filename_duplicate.zip", true, 1, 0, 6, "7e19a404a4233352", "the second test1 replaces the first"},
    {"libzip__filename_empty.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "empty name: the output would be the destination itself"},
    {"libzip__incons-cdoffset.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "directory offset past the end: the walk ends at once (bsdtar: 1 B)"},
    {"libzip__incons-central-compsize-larger-toolarge.zip", true, 1, 0, 32, "78253bcf24ece937", "stored: the central 32 B are written, running into the directory bytes (bsdtar fails)"},
    {"libzip__incons-central-size-larger.zip", true, 1, 0, 1, "bb61a3776ba0fdc9", ""},
    {"libzip__incons-data.zip", true, 1, 0, 1, "84f1fb25c1c371ea", "CRC-32 not verified"},
    {"libzip__incons-eocd-magic-bad.zip", false, 0, 0, 0, "e3b0c44298fc1c14", "no end record (bsdtar reads it as a stream: 1 B)"},
    {"libzip__incons-file-count-high.zip", true, 1, 0, 1, "bb61a3776ba0fdc9", "count too high: the walk ends at the end record's signature"},
    {"libzip__incons-filename-nul-byte.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "a name with a NUL byte cannot be a file name: skipped (others write \"te\")"},
    {"libzip__incons-local-filename.zip", true, 1, 0, 1, "bb61a3776ba0fdc9", "the central directory's name rules"},
    {"libzip__incons-local-magic-bad.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "bad local signature: entry skipped"},
    {"libzip__incons-trailing-garbage.zip", true, 1, 0, 5, "20ce21b0ceda8a0d", ""},
    {"libzip__incons-zip64-checkcons-overflow.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "ZIP64 not understood"},
    {"libzip__manyfiles-65536.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "the end record's count (65536 wrapped to 0) is trusted (others: 65536 files)"},
    {"libzip__manyfiles-zip64.zip", true, 65535, 0, 65535, "76e98e3c90be5534", "count 0xFFFF trusted, ZIP64 count ignored (others: 70000 files)"},
    {"libzip__manyfiles.zip", true, 4464, 0, 4464, "026d0f780c502ec6", "count 70000 wrapped to 4464 is trusted (others: 70000 files)"},
    {"libzip__multidisk.zip", true, 1, 0, 0, "e9c68f1488f0a311", "disk numbers never read"},
    {"libzip__streamed.zip", true, 1, 0, 2, "9c3eb7e217ae5905", ""},
    {"libzip__test-cp437.zip", true, 16, 1, 0, "94c156a75f502a81", "names read as ISO 8859-1, not CP437"},
    {"libzip__test-utf8-unmarked.zip", true, 1, 0, 0, "be173bb0338e7328", "UTF-8 recognised without the language flag"},
    {"libzip__test-utf8.zip", true, 1, 0, 0, "be173bb0338e7328", ""},
    {"libzip__testbzip2.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 12 unsupported (bsdtar: 60 B)"},
    {"libzip__testempty.zip", true, 0, 0, 0, "e3b0c44298fc1c14", ""},
    {"libzip__testfile-lzma.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 14 unsupported (bsdtar: 64 B)"},
    {"libzip__testfile-truncated.zip", false, 0, 0, 0, "e3b0c44298fc1c14", "no end record"},
    {"libzip__testfile-xz.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 95 unsupported (bsdtar: 64 B)"},
    {"libzip__testfile-zstd.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 93 unsupported (bsdtar: 64 B)"},
    {"libzip__zip-in-archive-comment.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "the end record nearest the end, inside the comment, is taken: its directory is not there (unzip: 1 file)"},
};

QString corpusDir()
{
    return QDir(qEnvironmentVariable("BRISKO_SOURCE_DIR", QStringLiteral(".")) + "/../shared/zip-corpus").absolutePath();
}

// A scratch folder on a tmpfs when there is one: the corpus holds archives of 65535 files.
QString scratchBase()
{
    return QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm") : QDir::tempPath();
}

}  // namespace

class TestUnzipCorpus : public QObject {
    Q_OBJECT

private slots:
    void extractsWhatTheRulesSay_data();
    void extractsWhatTheRulesSay();
    void everyCorpusFileHasARow();
};

void TestUnzipCorpus::extractsWhatTheRulesSay_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<bool>("result");
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("folders");
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("digest");
    for (const Row& row : kRows)
        QTest::newRow(row.archive) << QString::fromUtf8(row.archive) << row.result << row.files << row.folders
                                   << row.bytes << QString::fromUtf8(row.digest);
}

void TestUnzipCorpus::extractsWhatTheRulesSay()
{
    QFETCH(QString, archive);
    QFETCH(bool, result);
    QFETCH(int, files);
    QFETCH(int, folders);
    QFETCH(qint64, bytes);
    QFETCH(QString, digest);
    const QString path = corpusDir() + "/" + archive;
    if (!QFileInfo::exists(path))
        QSKIP("the shared ZIP corpus is not beside the repository");

    QTemporaryDir scratch(scratchBase() + "/unzip-corpus-XXXXXX");
    QVERIFY(scratch.isValid());
    const QString dest = scratch.filePath("dest");
    QVERIFY(QDir().mkpath(scratch.filePath("beside")));
    QVERIFY(ziptest::writeFile(scratch.filePath("beside/keep.txt"), "keep"));

    struct statvfs vfs {};
    QCOMPARE(::statvfs(QFile::encodeName(scratch.path()).constData(), &vfs), 0);
    const uint64_t available = uint64_t{vfs.f_bavail} * vfs.f_frsize;
    brisko::UnzipLimits limits;
    limits.minFreePercent = 0;
    limits.minFreeBytes = available > (uint64_t{512} << 20) ? available - (uint64_t{512} << 20) : 0;

    QCOMPARE(brisko::BKUnzipFile(QFile::encodeName(path).toStdString(), QFile::encodeName(dest).toStdString(), limits),
             result);

    // Nothing beside the destination changed.
    QCOMPARE(ziptest::tree(scratch.path()).filter(QRegularExpression("^(?!dest[/@]?)")),
             QStringList({"beside/", "beside/keep.txt"}));
    QCOMPARE(ziptest::readFile(scratch.filePath("beside/keep.txt")), QByteArray("keep"));

    // The destination holds plain files and folders, which match the model's.
    std::vector<QByteArray> lines;
    int seenFolders = 0;
    qint64 seenBytes = 0;
    if (QFileInfo(dest).isDir()) {
        QDirIterator it(dest, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            const QFileInfo info = it.fileInfo();
            QVERIFY2(!info.isSymLink(), qPrintable(info.filePath()));
            if (info.isDir()) {
                ++seenFolders;
                continue;
            }
            QVERIFY2(info.isFile(), qPrintable(info.filePath()));
            QFile f(info.filePath());
            QVERIFY(f.open(QIODevice::ReadOnly));
            uLong crc = crc32(0, nullptr, 0);
            qint64 size = 0;
            while (!f.atEnd()) {
                const QByteArray chunk = f.read(1 << 20);
                crc = crc32(crc, reinterpret_cast<const Bytef*>(chunk.constData()), static_cast<uInt>(chunk.size()));
                size += chunk.size();
            }
            seenBytes += size;
            lines.push_back(QDir(dest).relativeFilePath(info.filePath()).toUtf8() + '\t' + QByteArray::number(size) +
                            '\t' + QByteArray::number(static_cast<qulonglong>(crc), 16).rightJustified(8, '0') + '\n');
        }
    }
    std::sort(lines.begin(), lines.end());  // byte order of UTF-8 = code point order
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QByteArray& line : lines)
        hash.addData(line);
    QCOMPARE(int(lines.size()), files);
    QCOMPARE(seenFolders, folders);
    QCOMPARE(seenBytes, bytes);
    QCOMPARE(QString::fromLatin1(hash.result().toHex().left(16)), digest);
}

void TestUnzipCorpus::everyCorpusFileHasARow()
{
    const QDir dir(corpusDir());
    if (!dir.exists())
        QSKIP("the shared ZIP corpus is not beside the repository");
    QStringList listed;
    for (const Row& row : kRows)
        listed << QString::fromUtf8(row.archive);
    QStringList present = dir.entryList(QDir::Files);
    present.removeIf([](const QString& name) { return name.endsWith(".md") || name == "SHA256SUMS" || name.endsWith(".json"); });
    listed.sort();
    present.sort();
    QCOMPARE(listed, present);
}

QTEST_GUILESS_MAIN(TestUnzipCorpus)
#include "tst_unzip_corpus.moc"
