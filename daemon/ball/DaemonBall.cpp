#include "DaemonBall.h"

#include "daemon/logging.h"
#include "daemon/script_process.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr qsizetype kLongestWord = 64; // anything longer is the helper's own chatter

QList<QByteArray> helperEnvironment(const LaunchPlan& plan, const SessionDisplay& display,
                                    const QString& helper) {
    QList<QByteArray> env{"HOME=" + plan.home,
                          "USER=" + plan.userName,
                          "LANG=C.UTF-8",
                          "QT_QPA_PLATFORM=xcb",
                          "DISPLAY=" + display.display,
                          "BRISKO_BUNDLE_DIR=" + QFile::encodeName(QFileInfo(helper).absolutePath())};
    if (!display.xauthority.isEmpty()) env << "XAUTHORITY=" + display.xauthority;
    const QByteArray runtimeDir = "/run/user/" + QByteArray::number(plan.uid);
    if (QFile::exists(QString::fromLatin1(runtimeDir))) env << "XDG_RUNTIME_DIR=" + runtimeDir;
    return env;
}

const char* stateLine(ScriptState state) {
    return state == ScriptState::Running  ? "running\n"
           : state == ScriptState::Paused ? "paused\n"
                                          : "stopped\n";
}

} // namespace

std::optional<BallAction> ballActionFor(QByteArrayView word) {
    if (word == "start") return BallAction::Start;
    if (word == "stop") return BallAction::Stop;
    if (word == "pause") return BallAction::Pause;
    if (word == "resume") return BallAction::Resume;
    if (word == "close") return BallAction::Close;
    return std::nullopt;
}

DaemonBall::DaemonBall(Floatball& daemon, QString documents, QString helper, QObject* parent)
    : QObject(parent), daemon_(daemon), documents_(std::move(documents)), helper_(std::move(helper)) {
    connect(&daemon_.supervisor().sessionDisplays(), &SessionDisplays::changed, this,
            &DaemonBall::onSessionsChanged);
    showIfReachable();
}

DaemonBall::~DaemonBall() {
    daemon_.attachBall(nullptr);
    stopHelper();
}

void DaemonBall::showScriptState(ScriptState state) {
    send(stateLine(state));
}

void DaemonBall::hideBall() {
    closed_ = true;
    send("hide\n");
}

// A new session may bring a display or take it; the ball follows it there, and a closed ball
// comes back on a new display. Sessions without a screen (a login over ssh) change nothing.
void DaemonBall::onSessionsChanged() {
    const SessionDisplay now = displayForOwner();
    if (now.display == shownOn_.display && now.xauthority == shownOn_.xauthority) return;
    stopHelper();
    closed_ = false;
    showIfReachable();
}

SessionDisplay DaemonBall::displayForOwner() const {
    LaunchPlan plan;
    if (!fillOwnerIdentity(documents_, &plan)) return {};
    return daemon_.supervisor().sessionDisplays().forUser(plan.changeIdentity ? plan.uid : geteuid());
}

void DaemonBall::showIfReachable() {
    if (closed_ || pid_ > 0 || !QFileInfo(helper_).isExecutable()) return;
    launch();
}

void DaemonBall::launch() {
    LaunchPlan plan;
    if (!fillOwnerIdentity(documents_, &plan)) return;
    if (!plan.changeIdentity) plan.uid = geteuid();
    const SessionDisplay display = daemon_.supervisor().sessionDisplays().forUser(plan.uid);
    shownOn_ = display;
    if (display.display.isEmpty()) return; // no screen: the daemon runs without a ball
    int channel[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel) != 0) return;
    plan.program = QFile::encodeName(helper_);
    plan.arguments = {plan.program};
    plan.environment = helperEnvironment(plan, display, helper_);
    plan.workingDirectory = "/";
    plan.inputFd = channel[1];
    const LaunchedScript launched = launchScript(plan);
    ::close(channel[1]);
    if (launched.pid < 0) {
        qCDebug(lcDaemon, "ball: cannot start %s: %s", qPrintable(helper_), qPrintable(launched.error));
        ::close(channel[0]);
        return;
    }
    pid_ = launched.pid;
    input_ = channel[0];
    output_ = launched.outputFd;
    pidFd_ = launched.pidFd;
    wordsReady_ = std::make_unique<QSocketNotifier>(output_, QSocketNotifier::Read);
    connect(wordsReady_.get(), &QSocketNotifier::activated, this, &DaemonBall::readWords);
    if (pidFd_ >= 0) {
        exited_ = std::make_unique<QSocketNotifier>(pidFd_, QSocketNotifier::Read);
        connect(exited_.get(), &QSocketNotifier::activated, this, &DaemonBall::onHelperExited);
    }
    daemon_.attachBall(this);
}

void DaemonBall::readWords() {
    char buffer[4096];
    const ssize_t n = ::read(output_, buffer, sizeof buffer);
    if (n <= 0) {
        wordsReady_->setEnabled(false); // the helper is ending; its exit cleans up
        return;
    }
    pending_.append(buffer, n);
    for (qsizetype nl; (nl = pending_.indexOf('\n')) >= 0; pending_.remove(0, nl + 1)) {
        const QByteArray word = pending_.left(nl);
        if (const auto action = ballActionFor(word))
            daemon_.ballAction(*action);
        else
            qCDebug(lcDaemon, "ball: %s", word.left(kLongestWord).constData());
    }
    if (pending_.size() > kLongestWord) pending_.clear();
}

void DaemonBall::onHelperExited() {
    readWords(); // a last word, such as "close", may still wait in the pipe
    stopHelper();
}

void DaemonBall::send(const QByteArray& line) {
    if (input_ < 0) return;
    if (::send(input_, line.constData(), size_t(line.size()), MSG_NOSIGNAL | MSG_DONTWAIT) != line.size())
        qCDebug(lcDaemon, "ball: cannot tell the helper %s", line.trimmed().constData());
}

void DaemonBall::stopHelper() {
    if (pid_ <= 0) return;
    daemon_.attachBall(nullptr);
    wordsReady_.reset();
    exited_.reset();
    ::kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    for (int* fd : {&input_, &output_, &pidFd_})
        if (*fd >= 0) ::close(std::exchange(*fd, -1));
    pid_ = -1;
    pending_.clear();
}

} // namespace brisko::daemon
