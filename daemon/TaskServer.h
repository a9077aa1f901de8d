#pragma once
// The task endpoint: GET /task?cmd=WORD on loopback, answered with {"ok":…} JSON. Refuses
// cross-site and rebound requests; GuardedTcpServer polices the connections.

#include "daemon/GuardedTcpServer.h"

#include <QAbstractHttpServer>
#include <QJsonObject>

#include <functional>

namespace brisko::daemon {

inline constexpr quint16 kTaskPort = 8989;
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
