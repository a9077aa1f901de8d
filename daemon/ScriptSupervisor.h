#pragma once
// One script run at a time: start, pause, resume, stop; its state follows the real process.
// Lives on the main thread; the run's own thread reports the exit back here.

#include "daemon/entry_point.h"
#include "daemon/script_run.h"
#include "daemon/script_state.h"
#include "daemon/session_display.h"

#include <QObject>
#include <QString>

#include <memory>

namespace brisko::scriptapi {
class ScriptApiServer;
}

namespace brisko::daemon {

inline constexpr double kStopGraceSeconds = 3.0;

class ScriptSupervisor : public QObject {
    Q_OBJECT
  public:
    explicit ScriptSupervisor(QString documents, QObject* parent = nullptr);
    ~ScriptSupervisor() override;

    ScriptState state() const { return state_; }
    // Asked to stop, waiting for the script to exit.
    bool isStopping() const { return stopping_; }
    // Each returns an empty text on success, else the reason as the user should read it.
    QString start();
    QString stop();
    QString pause();
    QString resume();

    void setLogRotationBytes(qint64 bytes) { rotateAt_ = bytes; }
    SessionDisplays& sessionDisplays() { return displays_; }

  signals:
    void stateChanged(brisko::daemon::ScriptState state);

  private:
    LaunchPlan launchSpecFor(const EntryPoint& entry, QString* error) const;
    void onRunExited(quint64 runId);
    void setState(ScriptState state);

    QString documents_;
    SessionDisplays displays_;
    qint64 rotateAt_ = kLogRotationBytes;
    std::unique_ptr<scriptapi::ScriptApiServer> api_; // the run's socket, gone with the run
    std::unique_ptr<ScriptRun> run_;
    quint64 runId_ = 0;
    bool stopping_ = false;
    ScriptState state_ = ScriptState::Stopped;
};

} // namespace brisko::daemon
