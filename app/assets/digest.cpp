#include "app/assets/digest.h"

#include "app/assets/native_fs.h"
#include "app/assets/natural_order.h"
#include "platform/bundle/bundle.h"

#include <openssl/evp.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace brisko {

BKMD5Context::BKMD5Context() : ctx_(EVP_MD_CTX_new()) {
    if (ctx_) EVP_DigestInit_ex(ctx_, EVP_md5(), nullptr);
}

BKMD5Context::~BKMD5Context() {
    EVP_MD_CTX_free(ctx_);
}

void BKMD5Context::update(const char* data, std::size_t size) {
    if (ctx_) EVP_DigestUpdate(ctx_, data, size);
}

QString BKMD5Context::finalHex() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (!ctx_ || EVP_DigestFinal_ex(ctx_, digest.data(), &length) != 1) return {};
    const QByteArray bytes(reinterpret_cast<const char*>(digest.data()), length);
    return QString::fromLatin1(bytes.toHex());
}

namespace assets {
namespace {
void feedOpenFile(BKMD5Sink* context, int fd) {
    // Reads of this size from a warm cache cost a few per cent of the hashing time.
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t n = read(fd, buffer.data(), buffer.size());
        if (n > 0)
            context->update(buffer.data(), std::size_t(n));
        else if (n < 0 && errno == EINTR)
            continue;
        else
            return;
    }
}

void walk(BKMD5Sink* context, const QByteArray& root, const QByteArray& relative, FolderTrail& trail);

void feedEntry(BKMD5Sink* context, const QByteArray& root, const QByteArray& rel, FolderTrail& trail) {
    const QByteArray full = joinPath(root, rel);
    const EntryInfo info = statFollowingLinks(full);
    if (info.kind == EntryKind::Missing) return;
    updateString(context, rel);
    if (info.kind != EntryKind::Directory) return updateFile(context, full);
    updateString(context, QByteArrayLiteral("/"));
    if (trail.contains(info)) return;
    trail.push(info);
    walk(context, root, rel, trail);
    trail.pop();
}

void walk(BKMD5Sink* context, const QByteArray& root, const QByteArray& relative, FolderTrail& trail) {
    const QByteArray dir = relative.isEmpty() ? root : joinPath(root, relative);
    for (const QByteArray& name : digestOrder(dir)) {
        const QByteArray rel = relative.isEmpty() ? name : joinPath(relative, name);
        feedEntry(context, root, rel, trail);
    }
}
} // namespace

QList<QByteArray> digestOrder(const QByteArray& dir) {
    QList<QByteArray> names = listDirectory(dir);
    names.removeIf([](const QByteArray& name) { return name.startsWith('.'); });
    sortNaturally(names);
    return names;
}

void updateDirectoryTree(BKMD5Sink* context, const QByteArray& root, const QByteArray& relative) {
    if (!context || root.isEmpty()) return;
    FolderTrail trail;
    const QByteArray start = relative.isEmpty() ? root : joinPath(root, relative);
    trail.push(statFollowingLinks(start));
    walk(context, root, relative, trail);
}

void updateString(BKMD5Sink* context, const QByteArray& utf8) {
    if (!context || utf8.isEmpty()) return;
    const quint32 size = quint32(utf8.size());
    const char length[4] = {char(size & 0xff), char((size >> 8) & 0xff), char((size >> 16) & 0xff),
                            char((size >> 24) & 0xff)};
    context->update(length, sizeof length);
    context->update(utf8.constData(), std::size_t(utf8.size()));
}

void updateFile(BKMD5Sink* context, const QByteArray& path) {
    if (!context || path.isEmpty()) return;
    // Non-blocking so a named pipe cannot stall the launch; only regular files are read.
    const int fd = open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return;
    struct stat st {};
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) feedOpenFile(context, fd);
    close(fd);
}

} // namespace assets

QString BKAppBundleMD5() {
    const QString root = bundle::bundlePath();
    if (root.isEmpty()) return {};
    BKMD5Context context;
    BKMD5UpdateDirectoryTree(&context, root);
    return context.finalHex();
}

void BKMD5UpdateDirectoryTree(BKMD5Sink* context, const QString& root, const QString& relative) {
    assets::updateDirectoryTree(context, assets::nativePath(root), assets::nativePath(relative));
}

void BKMD5UpdateString(BKMD5Sink* context, const QString& string) {
    assets::updateString(context, string.toUtf8());
}

void BKMD5UpdateFile(BKMD5Sink* context, const QString& path) {
    assets::updateFile(context, assets::nativePath(path));
}

} // namespace brisko
