// Starting programs as the superuser: fork, change identity, exec with an empty environment.

#include "kit/BKKit.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QLoggingCategory>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>
#include <vector>

namespace brisko {

namespace {

Q_LOGGING_CATEGORY(lcSpawn, "brisko.spawn", QtInfoMsg)

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

const char* stepName(int32_t step) {
    static const char* const names[] = {"?", "setsid", "setgroups", "setgid", "setuid", "execve"};
    return step >= 1 && step <= 5 ? names[step] : names[0];
}

// The report pipe is close-on-exec: end of file without a report means exec succeeded.
bool childReachedExec(int reportFd, const char* path) {
    ChildFailure failure;
    ssize_t n;
    do {
        n = read(reportFd, &failure, sizeof failure);
    } while (n < 0 && errno == EINTR);
    if (n == ssize_t(sizeof failure))
        qCDebug(lcSpawn, "%s: %s failed: %s", path, stepName(failure.step), strerror(failure.error));
    else if (n != 0)
        qCDebug(lcSpawn, "%s: the child's report was cut short", path);
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
    } catch (const std::system_error& error) {
        // No thread to spare: the child stays a zombie until this process ends.
        qCDebug(lcSpawn, "pid %d will not be reaped: %s", int(pid), error.what());
    }
}

pid_t startChild(const char* path, char* const argv[], Identity identity) {
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) {
        qCDebug(lcSpawn, "%s: no report pipe: %s", path, strerror(errno));
        return -1;
    }
    const pid_t pid = fork();
    if (pid < 0) qCDebug(lcSpawn, "%s: fork failed: %s", path, strerror(errno));
    if (pid == 0) {
        close(report[0]);
        runChild(path, argv, identity, report[1]);
    }
    close(report[1]);
    const bool started = pid > 0 && childReachedExec(report[0], path);
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
        qCDebug(lcSpawn, "%s: argv allocation failed", pathUtf8.constData());
        return -1;
    }
    argv[0] = const_cast<char*>(pathUtf8.constData());
    for (int32_t i = 0; i < count; ++i)
        argv[i + 1] = const_cast<char*>(argumentsUtf8[size_t(i)].constData());

    pid_t pid = startChild(pathUtf8.constData(), argv, Identity::Superuser);
    if (pid < 0) {
        qCDebug(lcSpawn, "%s: retrying once with our own identity", pathUtf8.constData());
        pid = startChild(pathUtf8.constData(), argv, Identity::Own);
    }
    free(argv);
    return pid;
}

} // namespace brisko
