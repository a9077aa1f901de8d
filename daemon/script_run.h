#pragma once
// One running script seen from its own thread: copies its output into the log, notices its
// exit, clears out what it left in its process group, and writes the end line.

#include "daemon/script_log.h"
#include "daemon/script_process.h"

#include <functional>
#include <memory>
#include <thread>

namespace brisko::daemon {

class ScriptRun {
  public:
    // onExit runs on the run's thread with the wait status, as its last act.
    ScriptRun(LaunchedScript launched, std::unique_ptr<ScriptLog> log, std::function<void(int)> onExit);
    ~ScriptRun(); // kills the group if it still runs, then joins
    ScriptRun(const ScriptRun&) = delete;
    ScriptRun& operator=(const ScriptRun&) = delete;

    pid_t pid() const { return launched_.pid; }
    // To the whole group: the script's children go with it.
    void signalGroup(int signal) const;

  private:
    void run();
    bool waitForExit(int* status);
    void drainOutput();

    LaunchedScript launched_;
    std::unique_ptr<ScriptLog> log_;
    std::function<void(int)> onExit_;
    std::unique_ptr<char[]> buffer_; // the run thread's own
    std::thread thread_;
};

// "退出码 N" or "信号 N (NAME)".
QString describeWaitStatus(int status);

} // namespace brisko::daemon
