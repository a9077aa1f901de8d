#include "thumbnail_provider.h"

#include "file_names.h"
#include "thumbnails.h"

#include <QQmlEngine>
#include <QQuickImageProvider>

namespace brisko {
namespace {

const QString kProviderId = QStringLiteral("fbthumb");

class ThumbnailProvider final : public QQuickImageProvider {
  public:
    // The view's Image is asynchronous, so requests run on the engine's pixmap reader thread.
    // (ForceAsynchronousImageLoading hangs the engine's destruction on Qt 6.4.)
    ThumbnailProvider() : QQuickImageProvider(QQmlImageProviderBase::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize&) override {
        const QString path = BKDecodeFileName(QByteArray::fromHex(id.toLatin1()));
        QImage image = BKThumbnailForImagePath(path);
        if (size) *size = image.size();
        return image;
    }
};

} // namespace

QString BKThumbnailUrl(const QString& path) {
    return QStringLiteral("image://%1/%2")
        .arg(kProviderId, QString::fromLatin1(BKEncodeFileName(path).toHex()));
}

void BKInstallThumbnailProvider(QQmlEngine* engine) {
    if (engine && !engine->imageProvider(kProviderId))
        engine->addImageProvider(kProviderId, new ThumbnailProvider);
}

} // namespace brisko
