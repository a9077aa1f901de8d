#include "run_peer.h"

#include <QElapsedTimer>

#include <algorithm>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace brisko::bench {

double medianMs(int runs, const std::function<void()>& call) {
    call();
    call();
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        call();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

bool runQuietly(const QStringList& argv) {
    std::vector<QByteArray> bytes;
    for (const QString& arg : argv)
        bytes.push_back(arg.toLocal8Bit());
    std::vector<char*> args;
    for (QByteArray& b : bytes)
        args.push_back(b.data());
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int started = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return started == 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace brisko::bench
