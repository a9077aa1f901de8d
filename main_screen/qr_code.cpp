#include "qr_code.h"

#include <QLoggingCategory>
#include <QPainter>
#include <QQmlEngine>
#include <QQuickImageProvider>

#include <qrencode.h>

#include <memory>

namespace brisko {
namespace {

Q_LOGGING_CATEGORY(lcQr, "brisko.main", QtInfoMsg)

const QString kProviderId = QStringLiteral("qrcode");
// The id is base64url: it survives URL handling untouched, whatever the text holds.
constexpr auto kIdEncoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

class QRCodeImageProvider : public QQuickImageProvider {
  public:
    QRCodeImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override {
        const auto decoded = QByteArray::fromBase64Encoding(id.toLatin1(), kIdEncoding);
        const int side = requestedSize.isValid() ? qMin(requestedSize.width(), requestedSize.height()) : 0;
        QImage image = decoded ? BKQRCodeImage(*decoded, side) : QImage();
        if (size) *size = image.size();
        return image;
    }
};

} // namespace

std::optional<BKQRMatrix> BKEncodeQR(const QByteArray& text) {
    const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
        QRcode_encodeData(int(text.size()), reinterpret_cast<const unsigned char*>(text.constData()), 0,
                          QR_ECLEVEL_M),
        &QRcode_free);
    if (!code) {
        qCDebug(lcQr) << "QR encoding failed for" << text.size() << "bytes";
        return std::nullopt;
    }
    BKQRMatrix matrix{code->width, QList<bool>(qsizetype(code->width) * code->width)};
    for (qsizetype i = 0; i < matrix.dark.size(); ++i)
        matrix.dark[i] = code->data[i] & 1;
    return matrix;
}

QImage BKQRCodeImage(const QByteArray& text, int side) {
    const std::optional<BKQRMatrix> matrix = BKEncodeQR(text);
    if (!matrix) return {};
    const int modules = matrix->size + 2 * kQRQuietZone;
    const int scale = qMax(1, side / modules);
    QImage image(modules * scale, modules * scale, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int y = 0; y < matrix->size; ++y)
        for (int x = 0; x < matrix->size; ++x)
            if (matrix->isDark(x, y))
                painter.fillRect((x + kQRQuietZone) * scale, (y + kQRQuietZone) * scale, scale, scale,
                                 Qt::black);
    return image;
}

QUrl BKQRCodeImageUrl(const QString& text) {
    return QUrl(QStringLiteral("image://%1/%2")
                    .arg(kProviderId, QString::fromLatin1(text.toUtf8().toBase64(kIdEncoding))));
}

void BKInstallQRCodeImageProvider(QQmlEngine* engine) {
    if (engine && !engine->imageProvider(kProviderId))
        engine->addImageProvider(kProviderId, new QRCodeImageProvider);
}

} // namespace brisko
