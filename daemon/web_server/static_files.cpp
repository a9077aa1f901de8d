#include "static_files.h"

#include "platform/fileio/unique_fd.h"

#include <QFile>
#include <QUrl>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko::web {
namespace {

using Fd = fileio::UniqueFd;

Lookup failureFor(int error) {
    // ELOOP: a link where O_NOFOLLOW stops; ENOTDIR: a link or file used as a folder.
    return error == ELOOP || error == ENOTDIR ? Lookup::Refused : Lookup::Missing;
}

StaticFile readOpenFile(int fd, const QString& name) {
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return {};
    if (st.st_size > kMaxServedBytes) return {Lookup::TooLarge, {}, {}};
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::DontCloseHandle)) return {};
    StaticFile found{Lookup::Found, file.read(kMaxServedBytes), contentTypeFor(name)};
    return found;
}

// Opens name in dir; a folder gives its index.html.
StaticFile openFinal(int dir, const QByteArray& name) {
    Fd fd(::openat(dir, name.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0) return {failureFor(errno), {}, {}};
    struct stat st {};
    if (fstat(fd.get(), &st) == 0 && S_ISDIR(st.st_mode)) return openFinal(fd.get(), "index.html");
    return readOpenFile(fd.get(), QFile::decodeName(name));
}

} // namespace

StaticFile readStaticFile(const QString& root, const QByteArray& urlPath) {
    // Decoded before splitting: %2e%2e is a "..", %2f a separator, like the characters themselves.
    const QByteArray path = QByteArray::fromPercentEncoding(urlPath);
    if (path.contains('\0') || path.contains('\\')) return {Lookup::Refused, {}, {}};
    QList<QByteArray> parts = path.split('/');
    parts.removeAll(QByteArray());
    for (const QByteArray& part : parts)
        if (part == "." || part == "..") return {Lookup::Refused, {}, {}};
    Fd dir(::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.get() < 0) return {};
    const QByteArray last = parts.isEmpty() ? QByteArray("index.html") : parts.takeLast();
    for (const QByteArray& part : parts) {
        const int next =
            ::openat(dir.get(), part.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (next < 0) return {failureFor(errno), {}, {}};
        dir.reset(next);
    }
    return openFinal(dir.get(), last);
}

QByteArray contentTypeFor(const QString& fileName) {
    static const QList<QPair<QString, QByteArray>> types{
        {"html", "text/html; charset=utf-8"},
        {"htm", "text/html; charset=utf-8"},
        {"css", "text/css; charset=utf-8"},
        {"js", "text/javascript; charset=utf-8"},
        {"mjs", "text/javascript; charset=utf-8"},
        {"json", "application/json"},
        {"txt", "text/plain; charset=utf-8"},
        {"svg", "image/svg+xml"},
        {"png", "image/png"},
        {"jpg", "image/jpeg"},
        {"jpeg", "image/jpeg"},
        {"gif", "image/gif"},
        {"webp", "image/webp"},
        {"ico", "image/x-icon"},
        {"wasm", "application/wasm"},
        {"woff", "font/woff"},
        {"woff2", "font/woff2"},
        {"ttf", "font/ttf"},
        {"mp3", "audio/mpeg"},
        {"mp4", "video/mp4"},
        {"wav", "audio/wav"},
    };
    const QString suffix = fileName.section(u'.', -1).toLower();
    if (fileName.contains(u'.'))
        for (const auto& [extension, type] : types)
            if (suffix == extension) return type;
    return "application/octet-stream";
}

} // namespace brisko::web
