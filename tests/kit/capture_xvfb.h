#pragma once
// A private Xvfb for capture tests, so no other test's windows appear in the frames and a
// test may take the server away. Xvfb picks a free display number itself.

#include <QFile>
#include <QString>
#include <QStringList>

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

class PrivateXvfb {
  public:
    PrivateXvfb(const QString& screen, bool shm) {
        int fds[2];
        if (pipe(fds) != 0) return;
        const QStringList args = {
            "Xvfb", "-displayfd", QString::number(fds[1]),           "-screen", "0", screen, "-nolisten",
            "tcp",  "-ac",        shm ? "+extension" : "-extension", "MIT-SHM"};
        std::vector<QByteArray> bytes;
        std::vector<char*> argv;
        for (const QString& arg : args)
            bytes.push_back(arg.toLocal8Bit());
        for (QByteArray& arg : bytes)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        if (posix_spawnp(&m_pid, "Xvfb", &actions, nullptr, argv.data(), environ) != 0) m_pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(fds[1]);
        const QString number = m_pid > 0 ? readLine(fds[0]) : QString();
        close(fds[0]);
        if (!number.isEmpty()) m_display = QStringLiteral(":") + number;
    }
    ~PrivateXvfb() { stop(SIGTERM); }
    PrivateXvfb(const PrivateXvfb&) = delete;
    PrivateXvfb& operator=(const PrivateXvfb&) = delete;

    QString display() const { return m_display; }
    // Takes the server away at once, as a crash would, then clears what it leaves behind.
    void kill() {
        stop(SIGKILL);
        const QString number = m_display.mid(1);
        QFile::remove(QStringLiteral("/tmp/.X%1-lock").arg(number));
        QFile::remove(QStringLiteral("/tmp/.X11-unix/X%1").arg(number));
    }

  private:
    // Xvfb writes the number and its newline separately, and stops if the pipe closes between.
    static QString readLine(int fd) {
        QByteArray line;
        char c = 0;
        while (line.size() < 16 && read(fd, &c, 1) == 1 && c != '\n')
            line.append(c);
        return c == '\n' ? QString::fromLatin1(line) : QString();
    }

    void stop(int signal) {
        if (m_pid <= 0) return;
        ::kill(m_pid, signal);
        waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }

    pid_t m_pid = -1;
    QString m_display;
};
