#pragma once
// Accepts connections for a loopback HTTP server and polices each one before the server reads it:
// caps request size and live connections, answers what cannot be HTTP with 400 at once, and drops
// a client that sends no complete request in time, so no client can hold the others up.

#include <QAbstractHttpServer>
#include <QTcpServer>

namespace brisko::daemon {

inline constexpr qint64 kMaxRequestBytes = 8 * 1024;
inline constexpr int kMaxConnections = 32;
inline constexpr double kIdleSeconds = 5.0;

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

} // namespace brisko::daemon
