#pragma once
// Accepts debug-link connections and hands one to the HTTP server only once its head is in and
// admitted: a client without the token, or announcing a body over the cap, is answered and
// dropped before any body is buffered. The body is held to what the head announced and the
// whole request to a deadline, so a slow or silent client only ever holds its own slot.

#include "daemon/debug_link/request_head.h"
#include "daemon/debug_link/upload_body.h"

#include <QSet>
#include <QString>
#include <QTcpServer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

class QTcpSocket;

namespace brisko::daemon {

inline constexpr qint64 kMaxLinkBodyBytes = 256 * 1024 * 1024;
inline constexpr int kMaxLinkConnections = 32;
inline constexpr double kHeadSeconds = 10.0;

struct LinkRefusal {
    int status;
    QString error;
};

// A whole reply after which the connection closes; extraHeaders are whole "Name: value\r\n" lines.
QByteArray httpReply(int status, const QByteArray& contentType, const QByteArray& body,
                     const QByteArray& extraHeaders = {});
QByteArray refusalReply(const LinkRefusal& refusal);

class LinkTcpServer : public QTcpServer {
    Q_OBJECT
  public:
    using Admission = std::function<std::optional<LinkRefusal>(const RequestHead& head)>;
    // An admitted PUT with its whole body; true when it answered on the socket.
    using Upload = std::function<bool(const QUrl& url, const UploadBody& body, QTcpSocket* socket)>;
    LinkTcpServer(Admission admit, Upload upload, QObject* parent = nullptr);

    // The connection now carries a stream (no deadline, no body budget) or has become a
    // WebSocket, which the link counts on its own.
    void release(QTcpSocket* socket);
    void releaseUpgraded(QTcpSocket* socket);

  protected:
    void incomingConnection(qintptr descriptor) override;

  private:
    void inspectHead(QTcpSocket* socket);
    void admit(QTcpSocket* socket, const RequestHead& head, qint64 bodyBytes);
    void refuse(QTcpSocket* socket, const LinkRefusal& refusal);
    void awaitBody(QTcpSocket* socket);
    void countServed(QTcpSocket* socket);
    void drop(QTcpSocket* socket);
    void armDeadline(QTcpSocket* socket, double seconds);

    void startUpload(QTcpSocket* socket, qint64 headBytes);
    void receiveUpload(QTcpSocket* socket);

    struct PendingUpload {
        QUrl url;
        qint64 remaining;
        UploadBody body;
    };

    Admission admit_;
    Upload upload_;
    QSet<QTcpSocket*> live_;
    std::unordered_map<QTcpSocket*, std::unique_ptr<PendingUpload>> uploads_;
};

} // namespace brisko::daemon
