#include "pairing_token.h"

#include "daemon/logging.h"
#include "platform/fileio/write_all.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr int kTokenBytes = 32;

bool fillRandom(unsigned char* out, size_t size) {
    size_t filled = 0;
    while (filled < size) {
        const ssize_t got = getrandom(out + filled, size - filled, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        filled += size_t(got);
    }
    return true;
}

// Root writes it for the user who owns DOCUMENTS, who must be able to read it.
bool handToOwner(int fd, const QByteArray& documents) {
    struct stat st {};
    if (::stat(documents.constData(), &st) != 0) return false;
    if (geteuid() != 0 || st.st_uid == 0) return true;
    return fchown(fd, st.st_uid, st.st_gid) == 0;
}

} // namespace

QByteArray makePairingToken() {
    unsigned char bytes[kTokenBytes];
    if (!fillRandom(bytes, sizeof bytes)) {
        qCDebug(lcDaemon, "debug link: no randomness for a token: %s", strerror(errno));
        return {};
    }
    return QByteArray(reinterpret_cast<const char*>(bytes), kTokenBytes).toHex();
}

QString tokenFilePath(const QString& documents) {
    return documents + QStringLiteral("/.floatball.token");
}

bool writeTokenFile(const QString& documents, const QByteArray& token) {
    const QByteArray path = QFile::encodeName(tokenFilePath(documents));
    QByteArray temporary = path + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        qCDebug(lcDaemon, "debug link: cannot write the token: %s", strerror(errno));
        return false;
    }
    const bool ok = fchmod(fd, 0600) == 0 && handToOwner(fd, QFile::encodeName(documents)) &&
                    fileio::writeAll(fd, token.constData(), size_t(token.size())) && fsync(fd) == 0;
    ::close(fd);
    if (ok && ::rename(temporary.constData(), path.constData()) == 0) return true;
    qCDebug(lcDaemon, "debug link: cannot write the token: %s", strerror(errno));
    ::unlink(temporary.constData());
    return false;
}

void removeTokenFile(const QString& documents) {
    if (::unlink(QFile::encodeName(tokenFilePath(documents)).constData()) != 0 && errno != ENOENT)
        qCDebug(lcDaemon, "debug link: cannot remove the token: %s", strerror(errno));
}

bool tokensMatch(const QByteArray& expected, const QByteArray& presented) {
    if (expected.isEmpty()) return false;
    // Every byte of `expected` is visited whatever is presented; only the total differs.
    unsigned char difference = presented.size() == expected.size() ? 0 : 1;
    for (qsizetype i = 0; i < expected.size(); ++i) {
        const char other = i < presented.size() ? presented.at(i) : '\0';
        difference |= static_cast<unsigned char>(expected.at(i) ^ other);
    }
    return difference == 0;
}

} // namespace brisko::daemon
