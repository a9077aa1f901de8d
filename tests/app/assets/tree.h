#pragma once
// Builds small file trees for the asset tests.

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace brisko::testing {

// "dir/" makes a folder; anything else a file holding content.
inline void put(const QString& root, const QString& rel, const QByteArray& content = {}) {
    const QString path = QDir(root).filePath(rel);
    const bool folder = rel.endsWith('/');
    QDir().mkpath(folder ? path : QFileInfo(path).path());
    QFile file(path);
    if (!folder && file.open(QIODevice::WriteOnly)) file.write(content);
}

inline QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// For names that are not valid UTF-8, which QString cannot carry.
inline bool putRaw(const QByteArray& path, const char* content) {
    std::ofstream out(path.constData(), std::ios::binary);
    return bool(out << content);
}

inline bool link(const QString& root, const QString& rel, const QByteArray& target) {
    const QByteArray path = QFile::encodeName(QDir(root).filePath(rel));
    return symlink(target.constData(), path.constData()) == 0;
}

inline bool fifo(const QString& root, const QString& rel) {
    return mkfifo(QFile::encodeName(QDir(root).filePath(rel)).constData(), 0600) == 0;
}

// A file the kernel lets anyone open, even root, but not read.
inline bool unreadableByAnyone(const QString& root, const QString& rel) {
    QFile mem(QStringLiteral("/proc/self/mem"));
    if (!mem.open(QIODevice::ReadOnly) || mem.read(1).size() == 1) return false;
    return link(root, rel, "/proc/self/mem");
}

// Unlike QDir::removeRecursively, also removes names that are not valid UTF-8.
inline void removeTree(const QByteArray& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path.toStdString(), ignored);
}

} // namespace brisko::testing
