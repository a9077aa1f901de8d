#include "request_guard.h"

namespace brisko::daemon {
namespace {

QList<QByteArray> headerValues(const HeaderList& headers, const QByteArray& name) {
    QList<QByteArray> values;
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0) values << value.trimmed();
    return values;
}

bool isLoopbackAuthority(const QByteArray& authority, quint16 port) {
    const QByteArray suffix = ':' + QByteArray::number(port);
    for (const char* host : {"127.0.0.1", "localhost", "[::1]"})
        if (authority.compare(host + suffix, Qt::CaseInsensitive) == 0) return true;
    return false;
}

bool singleValue(const QList<QByteArray>& values, auto accept) {
    return values.size() == 1 && accept(values.first());
}

} // namespace

bool isLoopbackRequestAllowed(const HeaderList& headers, quint16 port) {
    if (!singleValue(headerValues(headers, "host"),
                     [port](const QByteArray& v) { return isLoopbackAuthority(v, port); }))
        return false;
    const QList<QByteArray> origins = headerValues(headers, "origin");
    if (!origins.isEmpty() && !singleValue(origins, [port](const QByteArray& v) {
            return v.startsWith("http://") && isLoopbackAuthority(v.mid(7), port);
        }))
        return false;
    // Anything but our own pages and requests no page made ("none") comes from elsewhere.
    for (const QByteArray& site : headerValues(headers, "sec-fetch-site"))
        if (site != "same-origin" && site != "none") return false;
    return true;
}

} // namespace brisko::daemon
