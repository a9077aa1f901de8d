#include "plist.h"

#include <QVariantList>
#include <QXmlStreamReader>

namespace brisko::bundle {
namespace {

QVariant readValue(QXmlStreamReader& xml);

QVariantMap readDict(QXmlStreamReader& xml) {
    QVariantMap dict;
    QString key;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"key") {
            key = xml.readElementText();
        } else {
            QVariant value = readValue(xml);
            if (!key.isNull()) dict.insert(key, value);
            key.clear();
        }
    }
    return dict;
}

QVariantList readArray(QXmlStreamReader& xml) {
    QVariantList list;
    while (xml.readNextStartElement())
        list.append(readValue(xml));
    return list;
}

QVariant readValue(QXmlStreamReader& xml) {
    const auto name = xml.name();
    if (name == u"dict") return readDict(xml);
    if (name == u"array") return readArray(xml);
    if (name == u"true" || name == u"false") {
        const bool value = name == u"true";
        xml.skipCurrentElement();
        return value;
    }
    if (name == u"integer") return xml.readElementText().toLongLong();
    if (name == u"real") return xml.readElementText().toDouble();
    if (name == u"string" || name == u"date" || name == u"data") return xml.readElementText();
    xml.skipCurrentElement();
    return {};
}

} // namespace

QVariantMap parsePropertyList(const QByteArray& bytes) {
    QXmlStreamReader xml(bytes);
    while (xml.readNextStartElement()) {
        if (xml.name() == u"plist") continue;
        if (xml.name() == u"dict") return readDict(xml);
        xml.skipCurrentElement();
    }
    return {};
}

} // namespace brisko::bundle
