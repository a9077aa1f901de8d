#pragma once
// The debug link: while debug mode is on, HTTP and a WebSocket on every address so a computer
// can push a project, drive the script, follow its log and see the screen. Every request and
// every upgrade carries the pairing token. Destroying the link closes the port, every
// connection with it, and removes the token file. Main thread only.

#include "daemon/debug_link/LinkTcpServer.h"

#include <QAbstractHttpServer>
#include <QImage>
#include <QList>
#include <QPointer>
#include <QWebSocket>

#include <functional>

namespace brisko::daemon {

class LogFollower;
class ScriptSupervisor;

inline constexpr quint16 kDebugLinkPort = 8820;
inline constexpr int kMaxEventClients = 8;
inline constexpr qint64 kMaxFrameBytes = 64 * 1024;
// A client this far behind on the log is dropped rather than buffered for without end.
inline constexpr qint64 kMaxBacklogBytes = 8 * 1024 * 1024;

class DebugLink : public QAbstractHttpServer {
    Q_OBJECT
  public:
    DebugLink(QString documents, ScriptSupervisor& supervisor, QObject* parent = nullptr);
    ~DebugLink() override;

    // Makes the token, writes the token file and listens; false (and nothing listening) otherwise.
    bool start(quint16 port = kDebugLinkPort);
    quint16 port() const;
    QByteArray token() const { return token_; }
    // Where screenshots come from; a null image answers that capture is unavailable.
    void setScreenCapture(std::function<QImage()> capture) { capture_ = std::move(capture); }

  signals:
    // The first events client arrived (true) or the last one left (false).
    void connectedChanged(bool connected);

  protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    std::optional<LinkRefusal> refusalFor(const QHttpServerRequest& request) const;
    std::optional<LinkRefusal> admitHead(const RequestHead& head) const;
    bool route(const QHttpServerRequest& request, QTcpSocket* socket);
    void answer(QTcpSocket* socket, const QJsonObject& body, int status = 200);
    void answerBytes(QTcpSocket* socket, int status, const QByteArray& body, const QByteArray& type,
                     const QByteArray& extraHeaders = {});

    QJsonObject info() const;
    void command(QTcpSocket* socket, const QString& error);
    void getInfo(const QHttpServerRequest& request, QTcpSocket* socket);
    bool putBody(const QUrl& url, const UploadBody& body, QTcpSocket* socket);
    void run(const QHttpServerRequest& request, QTcpSocket* socket);
    void stop(const QHttpServerRequest& request, QTcpSocket* socket);
    void pause(const QHttpServerRequest& request, QTcpSocket* socket);
    void resume(const QHttpServerRequest& request, QTcpSocket* socket);
    void getLog(const QHttpServerRequest& request, QTcpSocket* socket);
    void getScreenshot(const QHttpServerRequest& request, QTcpSocket* socket);
    void followLog(QTcpSocket* socket, qint64 offset);

    void onWebSocket();
    void dropEventsClient(QWebSocket* client);
    void broadcast(const QJsonObject& message);
    void onLogLines(const QList<QByteArray>& lines);
    void onLogBytes(const QByteArray& bytes);

    QString documents_;
    ScriptSupervisor& supervisor_;
    QByteArray token_;
    LinkTcpServer* tcp_;
    LogFollower* follower_;
    std::function<QImage()> capture_;
    QList<QWebSocket*> eventClients_;
    QList<QPointer<QTcpSocket>> logStreams_;
};

} // namespace brisko::daemon
