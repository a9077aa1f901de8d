#include "text_file.h"

#include "file_manager/editor/editor_category.h"

#include <QFile>
#include <QSaveFile>
#include <QStringDecoder>

namespace brisko {

TextFileContents loadTextFile(const QString& path) {
    TextFileContents contents;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCDebug(lcEditor) << "cannot read" << path << file.errorString();
        return contents;
    }
    const QByteArray bytes = file.readAll();
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        qCDebug(lcEditor) << path << "is not UTF-8";
        contents.status = TextFileContents::Status::NotUtf8;
        return contents;
    }
    contents.status = TextFileContents::Status::Loaded;
    contents.text = std::move(text);
    return contents;
}

QString saveTextFile(const QString& path, const QString& text) {
    const bool existed = QFile::exists(path);
    const QFileDevice::Permissions permissions =
        existed ? QFile::permissions(path) : QFileDevice::Permissions();
    QSaveFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qCDebug(lcEditor) << "cannot write" << path << file.errorString();
        return file.errorString();
    }
    if (existed) file.setPermissions(permissions);
    if (!file.commit()) {
        qCDebug(lcEditor) << "cannot replace" << path << file.errorString();
        return file.errorString();
    }
    return {};
}

} // namespace brisko
