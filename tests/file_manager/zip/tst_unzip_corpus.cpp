// BKUnzipFile over the shared corpus of real-world and damaged archives (../shared/zip-corpus).
// Each row: the result, the files and folders left, their total size and a digest of the sorted
// "path<TAB>size<TAB>crc32" lines, from reference_unzip.py (a model of the rules, not of the code).
// The note says why unzip, bsdtar or Python (EXPECTED.md) answer otherwise: the end record's count
// and the offsets are trusted, ZIP64 is not understood, CRC-32 is not verified, only stored and
// deflate are supported, only plain files are written. 512 MiB of room stops libzip__bigzero.zip's
// 4 GiB entry early yet fits 65535 one-byte files (a 4 KiB page each).
#include <QCryptographicHash>
#include <QtTest>

#include "scratch.h"

namespace {

struct Row {
    const char* archive;
    bool result;
    int files;
    int folders;
    qint64 bytes;
    const char* digest;
    const char* note;
};

const Row kRows[] = {
    {"go__comment-truncated.zip", true, 1, 0, 1, "079867b56abdd203", ""},
    {"go__dd.zip", true, 1, 0, 25, "c04d75bca3fe2053",
     "data descriptor never read: sizes come from the central directory"},
    {"go__dupdir.zip", true, 1, 1, 0, "74533648dae101b6",
     "a/b is written as a file, so a/b/c has no folder to go in"},
    {"go__go-no-datadesc-sig.zip", true, 2, 0, 8, "3a724e94ec538b7b", ""},
    {"go__readme.notzip", false, 0, 0, 0, "e3b0c44298fc1c14", "no end record"},
    {"go__readme.zip", true, 1, 0, 1096, "3a91d2e83d3e40fe", ""},
    {"go__symlink.zip", true, 1, 0, 9, "ed46db62a82bf345",
     "a link entry becomes a file holding the link text (unzip makes a link)"},
    {"go__test-badbase.zip", true, 2, 0, 811, "0b4945661e92634c",
     "the recorded offsets still reach intact headers (unzip, bsdtar, Python fail)"},
    {"go__test-baddirsz.zip", true, 2, 0, 811, "0b4945661e92634c",
     "the directory size is never read (bsdtar, Python fail)"},
    {"go__test-prefix.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "offsets not shifted by the 43 prepended bytes (others: 2 files)"},
    {"go__test-trailing-junk.zip", true, 2, 0, 811, "0b4945661e92634c", ""},
    {"go__test.zip", true, 2, 0, 811, "0b4945661e92634c", ""},
    {"go__unix.zip", true, 3, 1, 26, "2f0b4b83757fa61f", "permissions not applied"},
    {"go__utf8-osx.zip", true, 1, 0, 0, "fd482500ace6c78e", ""},
    {"go__winxp.zip", true, 3, 1, 26, "2f0b4b83757fa61f", ""},
    {"go__zip64.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "ZIP64 not understood: 0xFFFFFFFF sizes fail the bounds test (others: 36 B)"},
    {"libarchive__test_read_format_zip_extra_padding.zip", false, 0, 0, 0, "e3b0c44298fc1c14",
     "no end record (bsdtar reads it as a stream: 2 B)"},
    {"libarchive__test_read_format_zip_filename_cp866.zip", true, 2, 0, 12, "3e74a98de919913b",
     "names not UTF-8: read as ISO 8859-1, not CP866"},
    {"libarchive__test_read_format_zip_filename_cp932.zip", true, 2, 1, 10, "e48dbf868cc4cc70",
     "Shift-JIS read as ISO 8859-1; its 0x5C bytes are ordinary characters"},
    {"libarchive__test_read_format_zip_high_compression.zip", true, 1, 0, 262304, "ddd0ea7d8c18ef17", ""},
    {"libarchive__test_read_format_zip_length_at_end.zip", true, 1, 0, 6, "15af21e80e0703a4", ""},
    {"libarchive__test_read_format_zip_mac_metadata.zip", true, 2, 1, 295, "9e382b9aa2643a92",
     "__MACOSX/._file3 is an ordinary entry (bsdtar takes it as metadata)"},
    {"libarchive__test_read_format_zip_ppmd8.zipx", true, 0, 0, 0, "e3b0c44298fc1c14",
     "method 98 unsupported (bsdtar: 912 B)"},
    {"libarchive__test_read_format_zip_sfx", true, 0, 0, 0, "e3b0c44298fc1c14",
     "offsets are not shifted by the 1024-byte stub (others: 2 files)"},
    {"libarchive__test_read_format_zip_size_exceeds_declared_deflate.zip", true, 1, 0, 11, "19e15fb3169314f2",
     "the first inflates past its declared 10 B: no file"},
    {"libarchive__test_read_format_zip_size_exceeds_declared_stored.zip", true, 2, 0, 31, "01e49505e378e836",
     "stored: the compressed size (20 B) is written, not the declared 10 B"},
    {"libarchive__test_read_format_zip_uncompressed_size_off_by_4gib.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "ZIP64 sizes not understood (others: 5 B)"},
    {"libarchive__test_read_format_zip_with_invalid_traditional_eocd.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "only the classic end record is read; its entries fail the bounds tests"},
    {"libzip__bigzero.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "4 GiB entry: stopped at the free-space floor and deleted"},
    {"libzip__bogus.zip", false, 0, 0, 0, "e3b0c44298fc1c14", "11 bytes: shorter than an end record"},
    {"libzip__broken.zip", true, 4, 0, 106746, "9f6b4edb469cf141",
     "CRC-32 not verified: the CRC-error entries extract; zlib-error and encrypted ones do not"},
    {"libzip__encrypt.zip", true, 2, 0, 20, "e1cc7c603f82d5ee",
     "not decrypted: the encrypted stored entry is written raw"},
    {"libzip__filename_duplicate.zip", true, 1, 0, 6, "7e19a404a4233352",
     "the second test1 replaces the first"},
    {"libzip__filename_empty.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "empty name: the output would be the destination itself"},
    {"libzip__incons-cdoffset.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "directory offset past the end: the walk ends at once (bsdtar: 1 B)"},
    {"libzip__incons-central-compsize-larger-toolarge.zip", true, 1, 0, 32, "78253bcf24ece937",
     "stored: the central 32 B are written, into the directory bytes (bsdtar fails)"},
    {"libzip__incons-central-size-larger.zip", true, 1, 0, 1, "bb61a3776ba0fdc9", ""},
    {"libzip__incons-data.zip", true, 1, 0, 1, "84f1fb25c1c371ea", "CRC-32 not verified"},
    {"libzip__incons-eocd-magic-bad.zip", false, 0, 0, 0, "e3b0c44298fc1c14",
     "no end record (bsdtar reads it as a stream: 1 B)"},
    {"libzip__incons-file-count-high.zip", true, 1, 0, 1, "bb61a3776ba0fdc9",
     "count too high: the walk ends at the end record's signature"},
    {"libzip__incons-filename-nul-byte.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "a name with a NUL byte is skipped (others write \"te\")"},
    {"libzip__incons-local-filename.zip", true, 1, 0, 1, "bb61a3776ba0fdc9",
     "the central directory's name rules"},
    {"libzip__incons-local-magic-bad.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "bad local signature: entry skipped"},
    {"libzip__incons-trailing-garbage.zip", true, 1, 0, 5, "20ce21b0ceda8a0d", ""},
    {"libzip__incons-zip64-checkcons-overflow.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "ZIP64 not understood"},
    {"libzip__manyfiles-65536.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "the end record's count (65536 wrapped to 0) is trusted (others: 65536 files)"},
    {"libzip__manyfiles-zip64.zip", true, 65535, 0, 65535, "76e98e3c90be5534",
     "count 0xFFFF trusted, ZIP64 count ignored (others: 70000 files)"},
    {"libzip__manyfiles.zip", true, 4464, 0, 4464, "026d0f780c502ec6",
     "count 70000 wrapped to 4464 is trusted (others: 70000 files)"},
    {"libzip__multidisk.zip", true, 1, 0, 0, "e9c68f1488f0a311", "disk numbers never read"},
    {"libzip__streamed.zip", true, 1, 0, 2, "9c3eb7e217ae5905", ""},
    {"libzip__test-cp437.zip", true, 16, 1, 0, "94c156a75f502a81", "names read as ISO 8859-1, not CP437"},
    {"libzip__test-utf8-unmarked.zip", true, 1, 0, 0, "be173bb0338e7328",
     "UTF-8 recognised without the language flag"},
    {"libzip__test-utf8.zip", true, 1, 0, 0, "be173bb0338e7328", ""},
    {"libzip__testbzip2.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 12 unsupported (bsdtar: 60 B)"},
    {"libzip__testempty.zip", true, 0, 0, 0, "e3b0c44298fc1c14", ""},
    {"libzip__testfile-lzma.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 14 unsupported (bsdtar: 64 B)"},
    {"libzip__testfile-truncated.zip", false, 0, 0, 0, "e3b0c44298fc1c14", "no end record"},
    {"libzip__testfile-xz.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 95 unsupported (bsdtar: 64 B)"},
    {"libzip__testfile-zstd.zip", true, 0, 0, 0, "e3b0c44298fc1c14", "method 93 unsupported (bsdtar: 64 B)"},
    {"libzip__zip-in-archive-comment.zip", true, 0, 0, 0, "e3b0c44298fc1c14",
     "the end record in the comment is nearest the end: no directory there (unzip: 1 file)"},
};

QString corpusDir() {
    return QDir(qEnvironmentVariable("BRISKO_SOURCE_DIR", ".") + "/../shared/zip-corpus").absolutePath();
}

} // namespace

class TestUnzipCorpus : public QObject {
    Q_OBJECT

  private slots:
    void extractsWhatTheRulesSay_data();
    void extractsWhatTheRulesSay();
};

void TestUnzipCorpus::extractsWhatTheRulesSay_data() {
    QTest::addColumn<int>("row");
    QStringList unlisted = QDir(corpusDir())
                               .entryList(QDir::Files)
                               .filter(QRegularExpression("^(?!SHA256SUMS$)(?!.*\\.(md|json)$)"));
    for (int i = 0; i < int(std::size(kRows)); ++i) {
        QTest::newRow(kRows[i].archive) << i;
        unlisted.removeAll(kRows[i].archive);
    }
    for (const QString& name : unlisted) // fail rather than go unchecked
        QTest::newRow(qPrintable("no row for " + name)) << -1;
}

void TestUnzipCorpus::extractsWhatTheRulesSay() {
    QFETCH(int, row);
    if (!QDir(corpusDir()).exists()) QSKIP("the shared ZIP corpus is not beside the repository");
    QVERIFY(row >= 0);
    const Row& expected = kRows[row];
    const QString archive = corpusDir() + "/" + expected.archive;
    QVERIFY(QFileInfo::exists(archive));
    ziptest::Scratch s;
    QCOMPARE(s.unzipFile(archive, uint64_t{512} << 20), expected.result);
    QVERIFY(s.outsideUntouched());

    const QStringList output = s.output();
    QByteArrayList lines;
    qint64 bytes = 0;
    for (const QString& path : output) {
        if (path.endsWith('/')) continue;
        // A link shows as "name@", where no such file exists.
        QVERIFY2(QFileInfo(s.dest(path)).isFile() && !QFileInfo(s.dest(path)).isSymLink(), qPrintable(path));
        const QByteArray data = ziptest::readFile(s.dest(path));
        const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(data.constData()), uInt(data.size()));
        bytes += data.size();
        lines << path.toUtf8() + '\t' + QByteArray::number(data.size()) + '\t' +
                     QByteArray::number(qulonglong(crc), 16).rightJustified(8, '0') + '\n';
    }
    std::sort(lines.begin(), lines.end()); // UTF-8 byte order is the model's code point order
    QCOMPARE(int(lines.size()), expected.files);
    QCOMPARE(int(output.filter(QRegularExpression("/$")).size()), expected.folders);
    QCOMPARE(bytes, expected.bytes);
    QCOMPARE(QCryptographicHash::hash(lines.join(), QCryptographicHash::Sha256).toHex().left(16),
             QByteArray(expected.digest));
}

QTEST_GUILESS_MAIN(TestUnzipCorpus)
#include "tst_unzip_corpus.moc"
