#include "file_names.h"

#include <QUtf8StringView>

namespace brisko {
namespace {

constexpr char16_t kEscapeBase = 0xDC00;

// Length of the valid UTF-8 sequence at p (0 when the byte starts none).
int validSequenceLength(const unsigned char* p, const unsigned char* end) {
    const unsigned char b = p[0];
    int length = 0;
    char32_t min = 0;
    if (b >= 0xC2 && b <= 0xDF)
        length = 2, min = 0x80;
    else if (b >= 0xE0 && b <= 0xEF)
        length = 3, min = 0x800;
    else if (b >= 0xF0 && b <= 0xF4)
        length = 4, min = 0x10000;
    else
        return 0;
    if (end - p < length) return 0;
    char32_t cp = b & (0x7F >> length);
    for (int i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (p[i] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    return length;
}

bool isEscapedByte(char16_t c) {
    return c >= kEscapeBase + 0x80 && c <= kEscapeBase + 0xFF;
}

} // namespace

QString BKDecodeFileName(const QByteArray& bytes) {
    if (QUtf8StringView(bytes).isValidUtf8()) return QString::fromUtf8(bytes);
    QString name;
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.constData());
    const auto* end = p + bytes.size();
    while (p < end) {
        if (*p < 0x80) {
            name += QChar(*p++);
            continue;
        }
        const int length = validSequenceLength(p, end);
        if (length == 0) {
            name += QChar(char16_t(kEscapeBase + *p++));
            continue;
        }
        name += QString::fromUtf8(reinterpret_cast<const char*>(p), length);
        p += length;
    }
    return name;
}

QByteArray BKEncodeFileName(const QString& name) {
    QByteArray bytes;
    bytes.reserve(name.size() * 3);
    qsizetype plainFrom = 0;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char16_t c = name.at(i).unicode();
        // A high surrogate before it makes a pair, not an escape.
        if (!isEscapedByte(c) || (i > 0 && name.at(i - 1).isHighSurrogate())) continue;
        bytes += QStringView(name).mid(plainFrom, i - plainFrom).toUtf8();
        bytes += char(c - kEscapeBase);
        plainFrom = i + 1;
    }
    bytes += QStringView(name).mid(plainFrom).toUtf8();
    return bytes;
}

QString BKJoinPath(const QString& dir, const QString& name) {
    if (dir.endsWith(QLatin1Char('/'))) return dir + name;
    return dir + QLatin1Char('/') + name;
}

} // namespace brisko
