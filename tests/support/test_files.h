#pragma once
// Whole files for tests: written with their folders, read back with a marker for "absent", and
// trees listed with hidden entries so leftovers show.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace brisko::testing {

inline bool writeFile(const QString& path, const QByteArray& bytes = {},
                      QIODevice::OpenMode mode = QIODevice::WriteOnly) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(mode) && file.write(bytes) == bytes.size();
}

inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Sorted paths relative to root; folders end in "/".
inline QStringList fileTree(const QString& root) {
    QStringList out;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        out << QDir(root).relativeFilePath(path) + (QFileInfo(path).isDir() ? "/" : "");
    }
    out.sort();
    return out;
}

} // namespace brisko::testing
