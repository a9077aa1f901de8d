#include "Floatball.h"

#include "app/status/notification_names.h"
#include "daemon/debug_link/DebugLink.h"
#include "daemon/debug_link/app_files.h"
#include "daemon/session_screen.h"
#include "platform/dispatch/dispatch.h"
#include "platform/notify/notify.h"

#include <utility>

namespace brisko::daemon {
namespace {

void post(const char* name) {
    notify::post(QString::fromLatin1(name));
}

} // namespace

Floatball::Floatball(const QString& documents, QObject* parent)
    : QObject(parent), supervisor_(documents),
      server_([this](const QString& cmd) { return runCommand(cmd); }), webPanel_(documents),
      documents_(documents), debugPort_(kDebugLinkPort) {
    connect(&supervisor_, &ScriptSupervisor::stateChanged, this, &Floatball::onStateChanged);
}

bool Floatball::start(quint16 port) {
    observe(names::kPing, &Floatball::answerPing);
    observe(names::kDebugEnableRequest, &Floatball::onDebugEnableRequest);
    observe(names::kDebugDisableRequest, &Floatball::onDebugDisableRequest);
    webPanel_.listenOnLoopback(); // without its page server the panel shows an error page; scripts still run
    return server_.listenOnLoopback(port);
}

// Observers run on the notification thread; the work belongs on the main thread.
void Floatball::observe(const char* name, void (Floatball::*method)()) {
    notify::addObserver(QString::fromLatin1(name), [self = QPointer(this), method] {
        dispatchMainAsync([self, method] {
            if (self) (self.get()->*method)();
        });
    });
}

QJsonObject Floatball::runCommand(const QString& cmd) {
    if (cmd == u"start") return taskReply(supervisor_.start());
    if (cmd == u"stop") return taskReply(supervisor_.stop());
    if (cmd == u"pause") return taskReply(supervisor_.pause());
    if (cmd == u"resume") return taskReply(supervisor_.resume());
    if (cmd == u"status") {
        QJsonObject reply = taskReply();
        reply.insert("state", QString::fromLatin1(scriptStateName(supervisor_.state())));
        reply.insert("debug", debugEnabled_);
        return reply;
    }
    return taskReply(QStringLiteral("未知指令"));
}

void Floatball::answerPing() {
    post(names::kAlive);
    post(supervisor_.state() == ScriptState::Stopped ? names::kScriptStopped : names::kScriptRunning);
    post(debugEnabled_ ? names::kDebugEnabled : names::kDebugDisabled);
    if (debugClientConnected_) post(names::kDebugConnected);
}

void Floatball::setDebugEnabled(bool enabled) {
    if (enabled && !link_) {
        link_ = new DebugLink(documents_, supervisor_, this);
        link_->setScreenCapture([this] {
            return captureSessionScreen(
                supervisor_.sessionDisplays().forUser(documentsOwner(documents_).uid));
        });
        connect(link_, &DebugLink::connectedChanged, this, &Floatball::onDebugClientsChanged);
        // Without the port the switch stays off: the answer below tells the application so.
        if (!link_->start(debugPort_)) enabled = false;
    }
    if (!enabled && link_) {
        delete std::exchange(link_, nullptr); // closes the port and every connection
        if (debugClientConnected_) post(names::kDebugDisconnected);
    }
    debugEnabled_ = enabled;
    if (!enabled) debugClientConnected_ = false;
    post(enabled ? names::kDebugEnabled : names::kDebugDisabled);
}

void Floatball::onDebugClientsChanged(bool connected) {
    debugClientConnected_ = connected;
    post(connected ? names::kDebugConnected : names::kDebugDisconnected);
}

void Floatball::onStateChanged(ScriptState state) {
    post(state == ScriptState::Stopped ? names::kScriptStopped : names::kScriptRunning);
    if (ball_) ball_->showScriptState(state);
}

void Floatball::attachBall(BallPresenter* ball) {
    ball_ = ball;
    if (ball_) ball_->showScriptState(supervisor_.state());
}

void Floatball::ballAction(BallAction action) {
    switch (action) {
    case BallAction::Start:
        supervisor_.start();
        break;
    case BallAction::Stop:
        supervisor_.stop();
        break;
    case BallAction::Pause:
        supervisor_.pause();
        break;
    case BallAction::Resume:
        supervisor_.resume();
        break;
    case BallAction::Close:
        if (ball_) ball_->hideBall();
        break;
    }
}

} // namespace brisko::daemon
