#pragma once
// The head of an HTTP request as it arrives on the debug link, read before the body so that a
// client without the pairing token is turned away before it can make us buffer anything.

#include <QByteArray>
#include <QList>
#include <QPair>
#include <optional>

namespace brisko::daemon {

using LinkHeaders = QList<QPair<QByteArray, QByteArray>>;

struct RequestHead {
    QByteArray method;
    QByteArray target; // as sent: path and query, still percent-encoded
    LinkHeaders headers;
    qsizetype size = 0; // bytes up to and including the blank line
};

inline constexpr qsizetype kMaxHeadBytes = 16 * 1024;

// Nothing until `bytes` holds a whole head; a head that cannot be one (malformed, or larger
// than kMaxHeadBytes) yields a head with an empty method.
std::optional<RequestHead> parseRequestHead(const QByteArray& bytes);

QList<QByteArray> headerValues(const LinkHeaders& headers, const QByteArray& name);

// The token from "Authorization: Bearer …", else from the target's "token" query item.
QByteArray presentedToken(const LinkHeaders& headers, const QByteArray& target);

} // namespace brisko::daemon
