#pragma once
// Requests to a device's debug link and what a person should read when one fails.

#include "cli/zip_writer.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>

namespace brisko::cli {

inline constexpr int kDefaultLinkPort = 8820;

enum ExitCode { kOk = 0, kRefused = 1, kUsage = 2, kUnreachable = 3, kBadToken = 4 };

struct LinkReply {
    int status = 0; // 0: no HTTP answer at all
    QByteArray body;
    QString transportError;
    QString bodyError; // the body could not be produced (set by upload only)
};

class LinkClient {
  public:
    // device: "HOST" or "HOST:PORT" (an IPv6 address in brackets).
    LinkClient(const QString& device, QByteArray token);
    bool isValid() const { return base_.isValid() && !base_.host().isEmpty(); }

    using BodySink = std::function<void(const QByteArray&)>;
    // Writes exactly the announced length through the sink; empty, or why it stopped.
    using BodyWriter = std::function<QString(const ByteSink& sink)>;

    // path: already percent-encoded, with its query.
    LinkReply send(const QByteArray& verb, const QString& path, const QByteArray& body = {});
    // A PUT whose body is written as it is made.
    LinkReply upload(const QString& path, qint64 length, const BodyWriter& writer);
    // Streams the reply's body to `sink` as it arrives, until the device closes it.
    LinkReply stream(const QString& path, const BodySink& sink);

    // Prints why a request failed (to stderr) and gives the exit code; kOk for a 2xx reply.
    int explain(const LinkReply& reply) const;
    QString deviceName() const { return base_.authority(); }

  private:
    LinkReply exchange(const QByteArray& verb, const QString& path, qint64 length, const BodyWriter& writer,
                       const BodySink& sink) const;

    QUrl base_;
    QByteArray token_;
};

} // namespace brisko::cli
