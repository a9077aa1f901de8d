#pragma once
// The daemon: answers the application's notifications, serves the task endpoint and owns the
// script supervisor. Main thread only.

#include "daemon/ScriptSupervisor.h"
#include "daemon/TaskServer.h"
#include "daemon/ball_seam.h"
#include "daemon/web_server/WebPanelServer.h"

#include <QObject>
#include <QPointer>

namespace brisko::daemon {

class DebugLink;

class Floatball : public QObject {
    Q_OBJECT
  public:
    explicit Floatball(const QString& documents, QObject* parent = nullptr);

    // Observers and the endpoint; false when the port is taken.
    bool start(quint16 port = kTaskPort);
    ScriptSupervisor& supervisor() { return supervisor_; }
    TaskServer& taskServer() { return server_; }

    // The floating ball, once there is one; it outlives the daemon or is detached first.
    void attachBall(BallPresenter* ball);
    void ballAction(BallAction action);

    QJsonObject runCommand(const QString& cmd);
    void answerPing();
    void setDebugEnabled(bool enabled);
    // Where the debug link listens once debug mode is on; 0 picks a free port.
    void setDebugPort(quint16 port) { debugPort_ = port; }

  private:
    void onStateChanged(ScriptState state);
    void observe(const char* name, void (Floatball::*method)());
    void onDebugEnableRequest() { setDebugEnabled(true); }
    void onDebugDisableRequest() { setDebugEnabled(false); }
    void onDebugClientsChanged(bool connected);

    ScriptSupervisor supervisor_;
    TaskServer server_;
    web::WebPanelServer webPanel_;
    BallPresenter* ball_ = nullptr;
    bool debugEnabled_ = false;
    bool debugClientConnected_ = false;
    QString documents_;
    quint16 debugPort_;
    DebugLink* link_ = nullptr; // exists while debug mode is on
};

} // namespace brisko::daemon
