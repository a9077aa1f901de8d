#include "request_guard.h"

#include <algorithm>

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

constexpr qsizetype kLongestMethod = 16;

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\r' && c != '\n') || byte == 0x7f;
}

bool fitsMethod(const QByteArray& method, bool complete) {
    if (method.size() > kLongestMethod || (complete && method.isEmpty())) return false;
    return std::all_of(method.begin(), method.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

bool fitsVersion(const QByteArray& version, bool complete) {
    for (const char* known : {"HTTP/1.1", "HTTP/1.0"})
        if (complete ? version == known : QByteArrayView(known).startsWith(version)) return true;
    return false;
}

// "METHOD TARGET HTTP/1.x", or a beginning of one when the line is not whole yet.
bool requestLinePrefixFits(QByteArrayView line, bool whole) {
    for (const char c : line)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7f) return false;
    const QList<QByteArray> parts = line.toByteArray().split(' ');
    if (parts.size() > 3 || !fitsMethod(parts[0], whole || parts.size() > 1)) return false;
    if (parts.size() > 1 && parts[1].isEmpty() && (whole || parts.size() > 2)) return false;
    if (parts.size() < 3) return !whole;
    return fitsVersion(parts[2], whole);
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

RequestHead screenRequestHead(QByteArrayView received) {
    while (received.startsWith("\r\n")) // tolerated before a request line
        received = received.sliced(2);
    const qsizetype lineEnd = received.indexOf("\r\n");
    const bool wholeLine = lineEnd >= 0;
    const QByteArrayView line =
        wholeLine ? received.first(lineEnd) : received.chopped(received.endsWith('\r') ? 1 : 0);
    if (!requestLinePrefixFits(line, wholeLine)) return RequestHead::Malformed;
    if (!wholeLine) return RequestHead::Incomplete;
    const qsizetype headEnd = received.indexOf("\r\n\r\n", lineEnd);
    const QByteArrayView headers =
        received.sliced(lineEnd, (headEnd < 0 ? received.size() : headEnd) - lineEnd);
    for (const char c : headers)
        if (isControl(c)) return RequestHead::Malformed;
    return headEnd < 0 ? RequestHead::Incomplete : RequestHead::Complete;
}

} // namespace brisko::daemon
