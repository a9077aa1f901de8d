// Starting programs as the superuser: fork, change identity, exec with an empty environment.

#include "kit/BKKit.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <vector>

namespace brisko {

namespace {

enum class Identity { Superuser, Own };

// Written by a child that did not reach exec: the step that failed and its errno.
struct ChildFailure {
    int32_t step;
    int32_t error;
};

char* const kEmptyEnvironment[] = {nullptr};

// Between fork and exec only async-signal-safe calls: other threads may hold locks.
[[noreturn]] void failInChild(int reportFd, int32_t step) {
    const ChildFailure failure{step, errno};
    [[maybe_unused]] const ssize_t written = write(reportFd, &failure, sizeof failure);
    _exit(127);
}

[[noreturn]] void runChild(const char* path, char* const argv[], Identity identity, int reportFd) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr); // a mask inherited from a worker thread would stick
    if (identity == Identity::Superuser) {
        if (setsid() < 0) failInChild(reportFd, 1);
        if (setgroups(0, nullptr) < 0) failInChild(reportFd, 2);
        if (setgid(0) < 0) failInChild(reportFd, 3);
        if (setuid(0) < 0) failInChild(reportFd, 4);
    }
    execve(path, argv, kEmptyEnvironment);
    failInChild(reportFd, 5);
}

// The report pipe is close-on-exec: end of file without a report means exec succeeded.
bool childReachedExec(int reportFd) {
    ChildFailure failure;
    ssize_t n;
    do {
        n = read(reportFd, &failure, sizeof failure);
    } while (n < 0 && errno == EINTR);
    return n == 0;
}

void waitForExit(pid_t pid) {
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// The caller never waits for the child, so someone must, or it lingers as a zombie. Only this
// pid is waited for: other children (QProcess's) are left to their owners.
void reapWhenDone(pid_t pid) {
    try {
        std::thread([pid] { waitForExit(pid); }).detach();
    } catch (const std::system_error&) {
        // No thread to spare: the child stays a zombie until this process ends.
    }
}

pid_t startChild(const char* path, char* const argv[], Identity identity) {
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        close(report[0]);
        runChild(path, argv, identity, report[1]);
    }
    close(report[1]);
    const bool started = pid > 0 && childReachedExec(report[0]);
    close(report[0]);
    if (pid > 0 && !started) waitForExit(pid);
    if (!started) return -1;
    reapWhenDone(pid);
    return pid;
}

} // namespace

int32_t BKKit::spawnAsRoot(const QString& path) {
    return spawnAsRoot(path, QStringList());
}

int32_t BKKit::spawnAsRoot(const QString& path, const QStringList& arguments) {
    if (path.isEmpty()) return -1;
    const QByteArray pathUtf8 = path.toUtf8();
    std::vector<QByteArray> argumentsUtf8;
    argumentsUtf8.reserve(size_t(arguments.size()));
    for (const QString& argument : arguments)
        argumentsUtf8.push_back(argument.toUtf8());

    const int32_t count = int32_t(argumentsUtf8.size());
    auto** argv = static_cast<char**>(calloc(size_t(count) + 2, sizeof(char*)));
    if (!argv) {
        fputs("[BKKit] spawnAsRoot: argv allocation failed\n", stderr);
        return -1;
    }
    argv[0] = const_cast<char*>(pathUtf8.constData());
    for (int32_t i = 0; i < count; ++i)
        argv[i + 1] = const_cast<char*>(argumentsUtf8[size_t(i)].constData());

    pid_t pid = startChild(pathUtf8.constData(), argv, Identity::Superuser);
    if (pid < 0) pid = startChild(pathUtf8.constData(), argv, Identity::Own); // once, as ourselves
    free(argv);
    return pid;
}

} // namespace brisko
