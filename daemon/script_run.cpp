#include "script_run.h"

#include "daemon/logging.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr int kReadBytes = 1 << 20; // the whole pipe in one read when the log falls behind
constexpr int kExitPollMs = 50;     // only without a pidfd

} // namespace

QString describeWaitStatus(int status) {
    if (WIFEXITED(status)) return QStringLiteral("退出码 %1").arg(WEXITSTATUS(status));
    const int sig = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return QStringLiteral("信号 %1 (%2)")
        .arg(sig)
        .arg(QString::fromLocal8Bit(sigabbrev_np(sig) ? sigabbrev_np(sig) : "?"));
}

ScriptRun::ScriptRun(LaunchedScript launched, std::unique_ptr<ScriptLog> log, std::function<void(int)> onExit)
    : launched_(launched), log_(std::move(log)), onExit_(std::move(onExit)) {
    thread_ = std::thread([this] { run(); });
}

ScriptRun::~ScriptRun() {
    signalGroup(SIGKILL);
    if (thread_.joinable()) thread_.join();
    ::close(launched_.outputFd);
    if (launched_.pidFd >= 0) ::close(launched_.pidFd);
}

void ScriptRun::signalGroup(int signal) const {
    if (::kill(-launched_.pid, signal) != 0 && errno != ESRCH)
        qCDebug(lcDaemon, "signal %d to group %d: %s", signal, int(launched_.pid), strerror(errno));
}

// The exit is only asked for when the pidfd says so: a fast writer costs one poll and one read
// per chunk, nothing more.
void ScriptRun::run() {
    // Not zeroed: only the pages a read fills are ever touched, so a short script pays for none.
    buffer_.reset(new char[kReadBytes]);
    pollfd fds[2] = {{launched_.outputFd, POLLIN, 0}, {launched_.pidFd, POLLIN, 0}};
    const int timeout = launched_.pidFd >= 0 ? -1 : kExitPollMs;
    int status = 0;
    for (bool exited = false; !exited;) {
        if (poll(fds, 2, timeout) < 0 && errno != EINTR) break;
        if (fds[0].revents & (POLLIN | POLLHUP)) {
            const ssize_t n = ::read(launched_.outputFd, buffer_.get(), kReadBytes);
            if (n > 0)
                log_->append(buffer_.get(), n);
            else if (n == 0)
                fds[0].fd = -1; // closed by the script; keep waiting for its exit
        }
        if (launched_.pidFd < 0 || (fds[1].revents & POLLIN)) exited = waitForExit(&status);
    }
    // What the script's children still do dies with it; what they wrote is kept.
    signalGroup(SIGKILL);
    drainOutput();
    log_->note(
        QStringLiteral("==== 脚本结束 (pid %1，%2) ====").arg(launched_.pid).arg(describeWaitStatus(status)));
    onExit_(status);
}

bool ScriptRun::waitForExit(int* status) {
    pid_t done;
    do
        done = waitpid(launched_.pid, status, WNOHANG);
    while (done < 0 && errno == EINTR);
    return done == launched_.pid || (done < 0 && errno == ECHILD);
}

void ScriptRun::drainOutput() {
    fcntl(launched_.outputFd, F_SETFL, O_NONBLOCK);
    ssize_t n;
    while ((n = ::read(launched_.outputFd, buffer_.get(), kReadBytes)) > 0)
        log_->append(buffer_.get(), n);
}

} // namespace brisko::daemon
