#pragma once
// The task endpoint: GET /task?cmd=WORD on loopback, answered with {"ok":…} JSON.
// Refuses cross-site and rebound requests, caps request size and live connections, answers what
// cannot be HTTP with 400 at once, and drops a client that sends no complete request in time, so
// no client can hold the others up.

#include <QAbstractHttpServer>
#include <QJsonObject>
#include <QTcpServer>

#include <functional>

namespace brisko::daemon {

inline constexpr quint16 kTaskPort = 8989;
inline constexpr qint64 kMaxRequestBytes = 8 * 1024;
inline constexpr int kMaxConnections = 32;
inline constexpr double kIdleSeconds = 5.0;

// Accepts connections for the HTTP server and polices each one before the server reads it.
class GuardedTcpServer : public QTcpServer {
    Q_OBJECT
  public:
    using QTcpServer::QTcpServer;
    // A request was answered: the connection may send another, with a fresh allowance.
    void requestAnswered(QTcpSocket* socket);
    // Listens on 127.0.0.1 only and hands the connections to http; false when the port is taken.
    bool listenOnLoopbackFor(QAbstractHttpServer* http, quint16 port);

  protected:
    void incomingConnection(qintptr descriptor) override;

  private:
    void armIdleTimer(QTcpSocket* socket);
    void countIncoming(QTcpSocket* socket);
    void refuseMalformed(QTcpSocket* socket);
    int live_ = 0;
};

class TaskServer : public QAbstractHttpServer {
    Q_OBJECT
  public:
    // cmd → reply object; called on the main thread.
    using CommandHandler = std::function<QJsonObject(const QString& cmd)>;

    explicit TaskServer(CommandHandler handler, QObject* parent = nullptr);
    bool listenOnLoopback(quint16 port = kTaskPort);
    quint16 port() const;

  protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    void answer(const QHttpServerRequest& request, QTcpSocket* socket, const QJsonObject& body, int status);

    CommandHandler handler_;
    GuardedTcpServer* tcp_;
};

QJsonObject taskReply(const QString& error = {});

} // namespace brisko::daemon
