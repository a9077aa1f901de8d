// Thumbnails of real image files: bounded size, the orientation tag applied whichever decode path
// the file takes, and nothing for what does not decode.
#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include "file_manager/thumbnails.h"

using namespace brisko;

namespace {

// Left half red, right half blue: after a quarter turn the red half is on top.
QImage halves(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::blue);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width() / 2; ++x)
            image.setPixel(x, y, qRgb(255, 0, 0));
    return image;
}

// An APP1 segment holding only the orientation tag, set right after the start of image.
QByteArray withOrientation(QByteArray jpeg, quint8 orientation) {
    QByteArray app1 = QByteArray::fromHex("ffe10022"                 // APP1, 34 bytes
                                          "457869660000"             // "Exif"
                                          "49492a0008000000"         // little-endian TIFF, IFD at 8
                                          "0100"                     // one entry:
                                          "120103000100000000000000" // orientation, one SHORT
                                          "00000000");
    app1[28] = char(orientation);
    return jpeg.insert(2, app1);
}

} // namespace

class TestThumbnails : public QObject {
    Q_OBJECT
  private slots:
    void thumbnail_data();
    void thumbnail();
};

void TestThumbnails::thumbnail_data() {
    QTest::addColumn<QSize>("stored");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<int>("orientation"); // 0: no tag
    QTest::addColumn<QSize>("shown");     // 0 x 0: no thumbnail
    QTest::newRow("large JPEG, scaled in the decoder")
        << QSize(4000, 3000) << QByteArray("JPEG") << 0 << QSize(112, 84);
    QTest::newRow("large JPEG turned a quarter")
        << QSize(4000, 3000) << QByteArray("JPEG") << 6 << QSize(84, 112);
    QTest::newRow("small JPEG turned a quarter")
        << QSize(400, 300) << QByteArray("JPEG") << 6 << QSize(84, 112);
    QTest::newRow("JPEG too small for a decoder scale")
        << QSize(150, 100) << QByteArray("JPEG") << 0 << QSize(112, 74);
    QTest::newRow("tall PNG") << QSize(600, 1300) << QByteArray("PNG") << 0 << QSize(51, 112);
    QTest::newRow("small PNG is not enlarged") << QSize(100, 50) << QByteArray("PNG") << 0 << QSize(100, 50);
    QTest::newRow("not an image") << QSize() << QByteArray("JPEG") << 0 << QSize(0, 0);
}

void TestThumbnails::thumbnail() {
    QFETCH(QSize, stored);
    QFETCH(QByteArray, format);
    QFETCH(int, orientation);
    QFETCH(QSize, shown);
    QByteArray bytes = "PK\x03\x04 not an image";
    if (stored.isValid()) {
        QBuffer buffer(&bytes);
        bytes.clear();
        QVERIFY(buffer.open(QIODevice::WriteOnly) && halves(stored).save(&buffer, format.constData(), 95));
    }
    if (orientation) bytes = withOrientation(bytes, quint8(orientation));
    QTemporaryDir dir;
    QFile file(dir.filePath(QString::fromLatin1("picture." + format.toLower())));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();
    const QImage image = BKDecodeThumbnail(file.fileName());
    QCOMPARE(image.size(), shown);
    if (image.isNull()) return;
    const QPoint first =
        orientation ? QPoint(shown.width() / 2, shown.height() / 4) : QPoint(shown.width() / 4, 0);
    const QPoint second =
        orientation ? QPoint(shown.width() / 2, shown.height() * 3 / 4) : QPoint(shown.width() * 3 / 4, 0);
    QVERIFY(qRed(image.pixel(first)) > 200 && qBlue(image.pixel(first)) < 60);
    QVERIFY(qBlue(image.pixel(second)) > 200 && qRed(image.pixel(second)) < 60);
}

QTEST_GUILESS_MAIN(TestThumbnails)
#include "tst_thumbnails.moc"
