#include "strings_file.h"

#include "platform/bundle/plist.h"

#include <QStringDecoder>

#include <optional>

namespace brisko {
namespace {

QString decodeText(const QByteArray& data) {
    auto encoding = QStringConverter::encodingForData(data);
    QStringDecoder decoder(encoding.value_or(QStringConverter::Utf8));
    return decoder(data);
}

class StringsReader {
  public:
    explicit StringsReader(const QString& text) : text_(text) {}

    QHash<QString, QString> readAll() {
        QHash<QString, QString> pairs;
        while (skipBlanksAndComments()) {
            auto key = readToken();
            if (!key || !expect(u'=')) break;
            auto value = readToken();
            if (!value || !expect(u';')) break;
            pairs.insert(*key, *value);
        }
        return pairs;
    }

  private:
    bool atEnd() const { return pos_ >= text_.size(); }
    QChar peek(qsizetype ahead = 0) const {
        return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : QChar();
    }

    // Returns false at the end of the text.
    bool skipBlanksAndComments() {
        while (!atEnd()) {
            if (peek().isSpace() || peek() == QChar(0xFEFF)) {
                ++pos_;
            } else if (peek() == u'/' && peek(1) == u'*') {
                const qsizetype end = text_.indexOf(QLatin1String("*/"), pos_ + 2);
                pos_ = end < 0 ? text_.size() : end + 2;
            } else if (peek() == u'/' && peek(1) == u'/') {
                const qsizetype end = text_.indexOf(u'\n', pos_);
                pos_ = end < 0 ? text_.size() : end + 1;
            } else {
                return true;
            }
        }
        return false;
    }

    bool expect(QChar c) {
        if (!skipBlanksAndComments() || peek() != c) return false;
        ++pos_;
        return true;
    }

    std::optional<QString> readToken() {
        if (!skipBlanksAndComments()) return std::nullopt;
        if (peek() == u'"') return readQuoted();
        return readBare();
    }

    std::optional<QString> readBare() {
        const qsizetype start = pos_;
        while (!atEnd() && (peek().isLetterOrNumber() || peek() == u'_' || peek() == u'.' || peek() == u'-' ||
                            peek() == u'$' || peek() == u'/' || peek() == u':')) {
            ++pos_;
        }
        if (pos_ == start) return std::nullopt;
        return text_.mid(start, pos_ - start);
    }

    std::optional<QString> readQuoted() {
        QString out;
        for (++pos_; !atEnd(); ++pos_) {
            const QChar c = peek();
            if (c == u'"') {
                ++pos_;
                return out;
            }
            if (c != u'\\') {
                out.append(c);
            } else if (!appendEscape(out)) {
                return std::nullopt;
            }
        }
        return std::nullopt;
    }

    bool appendEscape(QString& out) {
        ++pos_;
        if (atEnd()) return false;
        const QChar c = peek();
        switch (c.unicode()) {
        case 'n':
            out.append(u'\n');
            return true;
        case 't':
            out.append(u'\t');
            return true;
        case 'r':
            out.append(u'\r');
            return true;
        case 'U':
            return appendUnicodeEscape(out);
        default:
            out.append(c);
            return true;
        }
    }

    bool appendUnicodeEscape(QString& out) {
        bool ok = false;
        const uint code = text_.mid(pos_ + 1, 4).toUInt(&ok, 16);
        if (!ok || pos_ + 4 >= text_.size()) return false;
        out.append(QChar(char16_t(code)));
        pos_ += 4;
        return true;
    }

    const QString& text_;
    qsizetype pos_ = 0;
};

bool looksLikeXmlPropertyList(const QString& text) {
    return text.trimmed().startsWith(QLatin1String("<?xml")) ||
           text.trimmed().startsWith(QLatin1String("<plist"));
}

} // namespace

QHash<QString, QString> parseStringsFile(const QByteArray& data) {
    const QString text = decodeText(data);
    if (!looksLikeXmlPropertyList(text)) return StringsReader(text).readAll();
    QHash<QString, QString> pairs;
    const QVariantMap dict = bundle::parsePropertyList(text.toUtf8());
    for (auto it = dict.cbegin(); it != dict.cend(); ++it) {
        if (it.value().typeId() == QMetaType::QString) pairs.insert(it.key(), it.value().toString());
    }
    return pairs;
}

} // namespace brisko
