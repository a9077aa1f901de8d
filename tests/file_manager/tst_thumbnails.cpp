// Thumbnails of real image files: bounded size, the orientation tag applied whichever decode path
// the file takes, and nothing for what does not decode.
#include <QImage>
#include <QtTest>

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
    void thumbnail_data() {
        QTest::addColumn<QSize>("stored");
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<int>("orientation"); // 0: no tag
        QTest::addColumn<QSize>("shown");     // 0 x 0: no thumbnail
        const auto row = [](const char* name, QSize stored, const char* format, int orientation,
                            QSize shown) {
            QTest::newRow(name) << stored << QByteArray(format) << orientation << shown;
        };
        row("large JPEG, scaled in the decoder", {4000, 3000}, "JPEG", 0, {112, 84});
        row("large JPEG turned a quarter", {4000, 3000}, "JPEG", 6, {84, 112});
        row("small JPEG turned a quarter", {400, 300}, "JPEG", 6, {84, 112});
        row("JPEG too small for a decoder scale", {150, 100}, "JPEG", 0, {112, 74});
        row("tall PNG", {600, 1300}, "PNG", 0, {51, 112});
        row("small PNG is not enlarged", {100, 50}, "PNG", 0, {100, 50});
        row("not an image", {}, "JPEG", 0, {0, 0});
    }

    void thumbnail() {
        QFETCH(QSize, stored);
        QFETCH(QByteArray, format);
        QFETCH(int, orientation);
        QFETCH(QSize, shown);
        QByteArray bytes = "PK\x03\x04 not an image";
        if (stored.isValid()) {
            QBuffer buffer(&bytes);
            bytes.clear();
            QVERIFY(buffer.open(QIODevice::WriteOnly) &&
                    halves(stored).save(&buffer, format.constData(), 95));
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
        const QPoint second = orientation ? QPoint(shown.width() / 2, shown.height() * 3 / 4)
                                          : QPoint(shown.width() * 3 / 4, 0);
        QVERIFY(qRed(image.pixel(first)) > 200 && qBlue(image.pixel(first)) < 60);
        QVERIFY(qBlue(image.pixel(second)) > 200 && qRed(image.pixel(second)) < 60);
    }
};

QTEST_GUILESS_MAIN(TestThumbnails)
#include "tst_thumbnails.moc"
