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

  private:
    void onStateChanged(ScriptState state);
    void observe(const char* name, void (Floatball::*method)());
    void onDebugEnableRequest() { setDebugEnabled(true); }
    void onDebugDisableRequest() { setDebugEnabled(false); }

    ScriptSupervisor supervisor_;
    TaskServer server_;
    web::WebPanelServer webPanel_;
    BallPresenter* ball_ = nullptr;
    bool debugEnabled_ = false;
    bool debugClientConnected_ = false; // the debug link reports here once it exists
};

} // namespace brisko::daemon
