#include "script_process.h"

#include "daemon/logging.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <pthread.h>
#include <pwd.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brisko::daemon {
namespace {

constexpr int kPipeBytes = 1 << 20;
constexpr size_t kChildStackBytes = 64 * 1024;

std::vector<char*> pointers(const QList<QByteArray>& strings) {
    std::vector<char*> out;
    for (const QByteArray& s : strings)
        out.push_back(const_cast<char*>(s.constData()));
    out.push_back(nullptr);
    return out;
}

// What the child shares with the parent while the parent waits for its exec (CLONE_VM|CLONE_VFORK).
struct ChildStart {
    const LaunchPlan* plan;
    char* const* argv;
    char* const* envp;
    int outFd;
    int error = 0; // written by the child when it cannot exec
};

[[noreturn]] void failInChild(ChildStart* start) {
    start->error = errno;
    _exit(127);
}

// The child shares our memory and our threads' locks, so only async-signal-safe calls; and glibc's
// setuid would signal the parent's threads, so identity changes go straight to the kernel.
bool takeIdentity(const LaunchPlan& plan) {
    return syscall(SYS_setgroups, plan.groups.size(), plan.groups.data()) == 0 &&
           syscall(SYS_setresgid, plan.gid, plan.gid, plan.gid) == 0 &&
           syscall(SYS_setresuid, plan.uid, plan.uid, plan.uid) == 0;
}

// Handlers go back to default before signals are let in: ours must never run in the child, and
// ignored signals would survive exec.
void resetSignals() {
    struct sigaction deflt {};
    deflt.sa_handler = SIG_DFL;
    for (int sig = 1; sig < NSIG; ++sig)
        sigaction(sig, &deflt, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

int runChild(void* arg) {
    auto* start = static_cast<ChildStart*>(arg);
    const LaunchPlan& plan = *start->plan;
    resetSignals();
    if (setsid() < 0) failInChild(start);
    const int inFd = plan.inputFd >= 0 ? plan.inputFd : ::open("/dev/null", O_RDONLY);
    if (inFd < 0 || dup2(inFd, 0) < 0 || dup2(start->outFd, 1) < 0 || dup2(start->outFd, 2) < 0)
        failInChild(start);
    syscall(SYS_close_range, 3U, ~0U, 4U /* CLOSE_RANGE_CLOEXEC */);
    if (plan.changeIdentity && !takeIdentity(plan)) failInChild(start);
    if (chdir(plan.workingDirectory.constData()) != 0) failInChild(start);
    execve(plan.program.constData(), start->argv, start->envp);
    failInChild(start);
}

// No copy of the daemon's page tables: the parent sleeps until the child has exec'd or failed.
pid_t spawnChild(ChildStart* start) {
    static thread_local std::vector<char> stack(kChildStackBytes);
    sigset_t all, old;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &old);
    const pid_t pid = clone(runChild, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, start);
    const int cloneError = errno;
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    errno = cloneError;
    return pid;
}

struct UserRecord {
    uid_t uid = uid_t(-1);
    gid_t gid = gid_t(-1);
    timespec passwdTime{}, groupTime{};
    std::vector<gid_t> groups;
    QByteArray name, home;
};

timespec changeTime(const char* path) {
    struct stat st {};
    return ::stat(path, &st) == 0 ? st.st_mtim : timespec{};
}

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// NSS lookups cost more than the whole spawn; only the launching (main) thread calls this.
const UserRecord& userRecord(uid_t uid, gid_t gid) {
    static UserRecord cached;
    const timespec passwdTime = changeTime("/etc/passwd"), groupTime = changeTime("/etc/group");
    if (cached.uid == uid && cached.gid == gid && sameTime(cached.passwdTime, passwdTime) &&
        sameTime(cached.groupTime, groupTime))
        return cached;
    cached = {uid, gid, passwdTime, groupTime, {gid}, QByteArray::number(uid), "/"};
    const passwd* pw = getpwuid(uid);
    if (!pw) return cached;
    cached.name = pw->pw_name;
    cached.home = pw->pw_dir;
    int count = 64;
    std::vector<gid_t> groups(static_cast<size_t>(count));
    if (getgrouplist(pw->pw_name, gid, groups.data(), &count) >= 0) {
        groups.resize(size_t(count));
        cached.groups = std::move(groups);
    }
    return cached;
}

LaunchedScript failure(int error) {
    return {-1, -1, -1, QString::fromLocal8Bit(strerror(error))};
}

} // namespace

bool fillOwnerIdentity(const QString& path, LaunchPlan* plan) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return false;
    // Only root can become the owner; anyone else runs the script as itself, and says so.
    plan->changeIdentity = geteuid() == 0;
    plan->uid = plan->changeIdentity ? st.st_uid : geteuid();
    plan->gid = plan->changeIdentity ? st.st_gid : getegid();
    const UserRecord& user = userRecord(plan->uid, plan->gid);
    plan->groups = user.groups;
    plan->userName = user.name;
    plan->home = user.home;
    return true;
}

LaunchedScript launchScript(const LaunchPlan& plan) {
    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0) return failure(errno);
    fcntl(output[0], F_SETPIPE_SZ, kPipeBytes); // a fast writer waits less for the log
    const std::vector<char*> argv = pointers(plan.arguments), envp = pointers(plan.environment);
    ChildStart start{&plan, argv.data(), envp.data(), output[1]};
    const pid_t pid = spawnChild(&start);
    ::close(output[1]);
    const int error = pid < 0 ? errno : start.error;
    if (pid < 0 || error != 0) {
        ::close(output[0]);
        if (pid > 0) waitpid(pid, nullptr, 0);
        return failure(error);
    }
    const int pidFd = int(syscall(SYS_pidfd_open, pid, 0));
    if (pidFd < 0) qCDebug(lcDaemon, "pidfd_open failed: %s", strerror(errno));
    return {pid, output[0], pidFd, {}};
}

} // namespace brisko::daemon
