#pragma once
// Requests to a device's debug link, waited for on a local event loop, and what a person should
// read when one fails.

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkReply;

namespace brisko::cli {

inline constexpr int kDefaultLinkPort = 8820;

enum ExitCode { kOk = 0, kRefused = 1, kUsage = 2, kUnreachable = 3, kBadToken = 4 };

struct LinkReply {
    int status = 0; // 0: no HTTP answer at all
    QByteArray body;
    QString transportError;
};

class LinkClient {
  public:
    // device: "HOST" or "HOST:PORT" (an IPv6 address in brackets).
    LinkClient(const QString& device, QByteArray token);
    bool isValid() const { return base_.isValid() && !base_.host().isEmpty(); }

    using Progress = std::function<void(qint64 sent, qint64 total)>;
    LinkReply send(const QByteArray& verb, const QString& path, const QByteArray& body = {},
                   const Progress& progress = {});
    // Streams the reply's body to `sink` as it arrives, until the device closes it.
    LinkReply stream(const QString& path, const std::function<void(const QByteArray&)>& sink);

    // Prints why a request failed (to stderr) and gives the exit code; kOk for a 2xx reply.
    int explain(const LinkReply& reply) const;
    QString deviceName() const { return base_.authority(); }

  private:
    QNetworkReply* start(const QByteArray& verb, const QString& path, const QByteArray& body);
    static LinkReply finish(QNetworkReply* reply);

    QUrl base_;
    QByteArray token_;
};

} // namespace brisko::cli
