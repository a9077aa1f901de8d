#pragma once
// File names are bytes; the screens show QStrings. Bytes that are not UTF-8 travel through a
// QString as lone surrogates U+DC80..U+DCFF (one per byte), so every name listed can be
// operated on again exactly.

#include <QByteArray>
#include <QString>

namespace brisko {

QString BKDecodeFileName(const QByteArray& bytes);
QByteArray BKEncodeFileName(const QString& name);

// dir joined with name as a path component: exactly one "/" between them.
QString BKJoinPath(const QString& dir, const QString& name);

} // namespace brisko
