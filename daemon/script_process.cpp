#include "script_process.h"

#include "daemon/logging.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr int kPipeBytes = 1 << 20;

std::vector<char*> pointers(const QList<QByteArray>& strings) {
    std::vector<char*> out;
    for (const QByteArray& s : strings)
        out.push_back(const_cast<char*>(s.constData()));
    out.push_back(nullptr);
    return out;
}

[[noreturn]] void failInChild(int reportFd) {
    const int error = errno;
    (void)!::write(reportFd, &error, sizeof error);
    _exit(127);
}

// Between fork and exec only async-signal-safe calls: other threads may hold locks.
[[noreturn]] void runChild(const LaunchPlan& plan, char* const* argv, char* const* envp, int outFd,
                           int reportFd) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int sig = 1; sig < NSIG; ++sig)
        signal(sig, SIG_DFL); // ignored signals would survive exec
    if (setsid() < 0) failInChild(reportFd);
    const int nullFd = ::open("/dev/null", O_RDONLY);
    if (nullFd < 0 || dup2(nullFd, 0) < 0 || dup2(outFd, 1) < 0 || dup2(outFd, 2) < 0) failInChild(reportFd);
    syscall(SYS_close_range, 3U, ~0U, 4U /* CLOSE_RANGE_CLOEXEC */);
    if (plan.changeIdentity) {
        if (setgroups(plan.groups.size(), plan.groups.data()) != 0) failInChild(reportFd);
        if (setgid(plan.gid) != 0 || setuid(plan.uid) != 0) failInChild(reportFd);
    }
    if (chdir(plan.workingDirectory.constData()) != 0) failInChild(reportFd);
    execve(plan.program.constData(), argv, envp);
    failInChild(reportFd);
}

// Zero bytes on the report pipe: exec succeeded; otherwise the child's errno.
int childError(int reportFd) {
    int error = 0;
    ssize_t n;
    do
        n = ::read(reportFd, &error, sizeof error);
    while (n < 0 && errno == EINTR);
    return n == sizeof error ? error : 0;
}

} // namespace

bool fillOwnerIdentity(const QString& path, LaunchPlan* plan) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return false;
    plan->uid = st.st_uid;
    plan->gid = st.st_gid;
    plan->groups = {st.st_gid};
    if (const passwd* pw = getpwuid(st.st_uid)) {
        int count = 64;
        std::vector<gid_t> groups(static_cast<size_t>(count));
        if (getgrouplist(pw->pw_name, st.st_gid, groups.data(), &count) >= 0) {
            groups.resize(size_t(count));
            plan->groups = std::move(groups);
        }
    }
    plan->changeIdentity = geteuid() == 0;
    return true;
}

LaunchedScript launchScript(const LaunchPlan& plan) {
    int output[2], report[2];
    if (pipe2(output, O_CLOEXEC) != 0) return {-1, -1, -1, QString::fromLocal8Bit(strerror(errno))};
    if (pipe2(report, O_CLOEXEC) != 0) {
        ::close(output[0]);
        ::close(output[1]);
        return {-1, -1, -1, QString::fromLocal8Bit(strerror(errno))};
    }
    fcntl(output[0], F_SETPIPE_SZ, kPipeBytes); // a fast writer waits less for the log
    const std::vector<char*> argv = pointers(plan.arguments), envp = pointers(plan.environment);
    const pid_t pid = fork();
    if (pid == 0) runChild(plan, argv.data(), envp.data(), output[1], report[1]);
    ::close(output[1]);
    ::close(report[1]);
    const int error = pid < 0 ? errno : childError(report[0]);
    ::close(report[0]);
    if (pid < 0 || error != 0) {
        ::close(output[0]);
        if (pid > 0) waitpid(pid, nullptr, 0);
        return {-1, -1, -1, QString::fromLocal8Bit(strerror(error))};
    }
    const int pidFd = int(syscall(SYS_pidfd_open, pid, 0));
    if (pidFd < 0) qCDebug(lcDaemon, "pidfd_open failed: %s", strerror(errno));
    return {pid, output[0], pidFd, {}};
}

} // namespace brisko::daemon
