#pragma once
// The web panel's pages on 127.0.0.1:65005: the files of DOCUMENTS/app/web for GET and HEAD,
// and POST /close, with which a page asks the application to take the panel down.
// Loopback rules as for the task endpoint: a page elsewhere cannot reach it.

#include <QAbstractHttpServer>
#include <QString>

#include <functional>

namespace brisko::daemon {
class GuardedTcpServer;
}

namespace brisko::web {

inline constexpr quint16 kWebPanelPort = 65005;

class WebPanelServer : public QAbstractHttpServer {
    Q_OBJECT
  public:
    // onClose: what POST /close does; it posts the panel's close notification unless replaced.
    explicit WebPanelServer(QString documents, QObject* parent = nullptr);
    bool listenOnLoopback(quint16 port = kWebPanelPort);
    quint16 port() const;
    void setCloseHandler(std::function<void()> onClose) { onClose_ = std::move(onClose); }

  protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    void answer(const QHttpServerRequest& request, QTcpSocket* socket);
    void serveFile(const QHttpServerRequest& request, QTcpSocket* socket, bool withBody);
    void close(const QHttpServerRequest& request, QTcpSocket* socket);

    QString documents_;
    std::function<void()> onClose_;
    daemon::GuardedTcpServer* tcp_;
};

} // namespace brisko::web
