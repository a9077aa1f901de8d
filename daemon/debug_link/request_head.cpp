#include "request_head.h"

#include <QUrl>
#include <QUrlQuery>

namespace brisko::daemon {
namespace {

std::optional<QPair<QByteArray, QByteArray>> parseHeaderLine(const QByteArray& line) {
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0) return std::nullopt;
    const QByteArray name = line.left(colon);
    if (name.contains(' ') || name.contains('\t')) return std::nullopt;
    return QPair{name, line.mid(colon + 1).trimmed()};
}

RequestHead parseHeadBlock(const QByteArray& block) {
    const QList<QByteArray> lines = block.split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    if (requestLine.size() != 3 || !requestLine[2].startsWith("HTTP/1.")) return {};
    RequestHead head{requestLine[0], requestLine[1], {}, 0};
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].endsWith('\r') ? lines[i].chopped(1) : lines[i];
        if (line.isEmpty()) continue;
        const auto header = parseHeaderLine(line);
        if (!header) return {};
        head.headers << *header;
    }
    return head;
}

} // namespace

std::optional<RequestHead> parseRequestHead(const QByteArray& bytes) {
    const qsizetype end = bytes.indexOf("\r\n\r\n");
    if (end < 0) {
        if (bytes.size() > kMaxHeadBytes) return RequestHead{};
        return std::nullopt;
    }
    if (end + 4 > kMaxHeadBytes) return RequestHead{};
    RequestHead head = parseHeadBlock(bytes.left(end));
    head.size = end + 4;
    return head;
}

QList<QByteArray> headerValues(const LinkHeaders& headers, const QByteArray& name) {
    QList<QByteArray> values;
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0) values << value.trimmed();
    return values;
}

QByteArray presentedToken(const LinkHeaders& headers, const QByteArray& target) {
    for (const QByteArray& value : headerValues(headers, "authorization"))
        if (value.size() > 7 && value.left(7).compare("bearer ", Qt::CaseInsensitive) == 0)
            return value.mid(7).trimmed();
    const QUrlQuery query(QUrl::fromEncoded(target));
    return query.queryItemValue(QStringLiteral("token"), QUrl::FullyDecoded).toUtf8();
}

} // namespace brisko::daemon
