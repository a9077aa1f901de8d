#include "service_address.h"

#include "main_screen/main_sections.h"

#include <QLoggingCategory>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brisko {
namespace {

Q_LOGGING_CATEGORY(lcAddress, "brisko.main", QtInfoMsg)

bool isLowercaseHex(const QByteArray& text) {
    for (char c : text)
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
    return true;
}

// One read of at most one byte past the token: a longer file is malformed whatever follows.
QByteArray readTokenBytes(int fd) {
    char buffer[kDebugTokenLength + 1];
    ssize_t total = 0;
    while (total < ssize_t(sizeof buffer)) {
        const ssize_t n = ::read(fd, buffer + total, sizeof buffer - size_t(total));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        total += n;
    }
    return QByteArray(buffer, int(total));
}

bool isLoopback(const QString& address) {
    return address.startsWith(QLatin1String("127.")) || address == QLatin1String("0.0.0.0");
}

} // namespace

std::optional<QString> BKReadDebugToken(const QString& documentsDirectory) {
    const QByteArray path = (documentsDirectory + u'/' + kDebugTokenFileName).toLocal8Bit();
    // Non-blocking, so a FIFO planted under the name cannot hang the screen.
    const int fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) {
        qCDebug(lcAddress) << "token file not opened:" << strerror(errno);
        return std::nullopt;
    }
    struct stat info {};
    QByteArray bytes;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size == kDebugTokenLength)
        bytes = readTokenBytes(fd);
    ::close(fd);
    if (bytes.size() != kDebugTokenLength || !isLowercaseHex(bytes)) {
        qCDebug(lcAddress) << "token file malformed, size" << qint64(info.st_size);
        return std::nullopt;
    }
    return QString::fromLatin1(bytes);
}

QStringList BKServiceAddressHosts(const QString& wifiAddress, const QList<BKInterfaceAddress>& addresses) {
    if (!wifiAddress.isEmpty()) return {wifiAddress};
    QStringList hosts;
    for (const BKInterfaceAddress& entry : addresses)
        if (entry.family == AF_INET && !isLoopback(entry.address) && !hosts.contains(entry.address))
            hosts.append(entry.address);
    return hosts;
}

QString BKDebugServiceURL(const QString& host, const QString& token) {
    return QStringLiteral("http://%1:%2/?token=%3").arg(host).arg(kDebugServicePort).arg(token);
}

BKServiceAddressContent BKServiceAddressAlertContent(const QStringList& hosts, bool hostsAreWiFi,
                                                     const std::optional<QString>& token) {
    if (hosts.isEmpty()) return {QStringLiteral("未找到可用的网络地址，请连接网络后重试"), {}, {}};
    QStringList lines;
    if (!token) {
        for (const QString& host : hosts)
            lines.append(QStringLiteral("%1:%2").arg(host).arg(kDebugServicePort));
        lines.append(QStringLiteral("令牌不可用，请稍后重试或重新开启调试模式"));
        return {lines.join(u'\n'), {}, {}};
    }
    for (const QString& host : hosts)
        lines.append(BKDebugServiceURL(host, *token));
    const QString first = lines.first();
    if (!hostsAreWiFi) lines.prepend(QStringLiteral("未检测到 Wi-Fi，可尝试以下地址："));
    return {lines.join(u'\n'), first, first};
}

} // namespace brisko
