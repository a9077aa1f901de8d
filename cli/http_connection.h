#pragma once
// One HTTP/1.1 request over a plain blocking socket, as the debug link serves them: one request
// per connection, the reply read until the device closes it. No event loop, no Qt Network:
// the client starts in a few milliseconds and streams a body as it is produced.

#include <QByteArray>
#include <QString>

#include <functional>

namespace brisko::cli {

inline constexpr int kConnectTimeoutMs = 10000;

class HttpConnection {
  public:
    HttpConnection() = default;
    ~HttpConnection();
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    // Empty on success, else why no connection could be made.
    QString open(const QByteArray& host, quint16 port);
    // False once the device stops taking bytes (it answered early or went away).
    bool write(const char* data, size_t size);
    // The reply's status (0: none), its body handed to `body` with the status as it arrives,
    // chunked bodies decoded; `error` says why a reply was cut short or never came.
    using BodySink = std::function<void(int status, const QByteArray& bytes)>;
    int readReply(const BodySink& body, QString* error);

  private:
    bool fill();
    bool readLine(QByteArray* line);
    using Bytes = std::function<void(const QByteArray&)>;
    bool readBody(qint64 length, const Bytes& body);
    bool readChunked(const Bytes& body);

    int fd_ = -1;
    QByteArray buffer_;
    int readErrno_ = 0;
};

} // namespace brisko::cli
