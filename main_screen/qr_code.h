#pragma once
// QR codes for the screen: libqrencode's matrix drawn as an image, and an image provider so a
// view can show one by URL.

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QUrl>

#include <optional>

class QQmlEngine;

namespace brisko {

// The margin scanners need around the symbol, in modules.
inline constexpr int kQRQuietZone = 4;

struct BKQRMatrix {
    int size = 0; // modules per side, without the quiet zone
    QList<bool> dark;
    bool isDark(int x, int y) const { return dark[y * size + x]; }
};

// Byte mode, error correction M, the smallest version that holds text; nothing when it does not fit.
std::optional<BKQRMatrix> BKEncodeQR(const QByteArray& text);

// Black on white with the quiet zone, each module a whole number of pixels (the most that fits in
// side, at least one) so no module blurs; a null image when text cannot be encoded.
QImage BKQRCodeImage(const QByteArray& text, int side);

// "image://qrcode/…" for text, once the provider is installed on the engine.
QUrl BKQRCodeImageUrl(const QString& text);
void BKInstallQRCodeImageProvider(QQmlEngine* engine);

} // namespace brisko
