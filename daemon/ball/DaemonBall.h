#pragma once
// The floating ball of the daemon. The daemon stays a plain core application that never talks
// to an X server: the ball lives in floatball-ball, started as the Documents owner on the
// session's display whenever one is reachable, and spoken to a line at a time over pipes.

#include "daemon/Floatball.h"
#include "daemon/ball_seam.h"
#include "daemon/session_display.h"

#include <QObject>
#include <QSocketNotifier>

#include <memory>
#include <optional>

namespace brisko::daemon {

class DaemonBall : public QObject, public BallPresenter {
    Q_OBJECT
  public:
    DaemonBall(Floatball& daemon, QString documents, QString helper, QObject* parent = nullptr);
    ~DaemonBall() override;

    void showScriptState(ScriptState state) override;
    void hideBall() override;
    bool isShown() const { return pid_ > 0; }

  private:
    void showIfReachable();
    void launch();
    void onSessionsChanged();
    SessionDisplay displayForOwner() const;
    void readWords();
    void onHelperExited();
    void send(const QByteArray& line);
    void stopHelper();

    Floatball& daemon_;
    QString documents_;
    QString helper_;
    bool closed_ = false; // "close" holds until the ball's display changes
    SessionDisplay shownOn_;
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    int pidFd_ = -1;
    QByteArray pending_;
    std::unique_ptr<QSocketNotifier> wordsReady_;
    std::unique_ptr<QSocketNotifier> exited_;
};

// "start" → BallAction::Start …; nothing for a word the ball does not send.
std::optional<BallAction> ballActionFor(QByteArrayView word);

} // namespace brisko::daemon
