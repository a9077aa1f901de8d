#pragma once
// Starting the script: its own session and process group, the Documents owner's identity,
// standard output and error into one pipe.

#include <QByteArray>
#include <QList>
#include <QString>

#include <sys/types.h>

#include <vector>

namespace brisko::daemon {

struct LaunchPlan {
    QByteArray program;
    QList<QByteArray> arguments; // argv[0] included
    QList<QByteArray> environment;
    QByteArray workingDirectory;
    int inputFd = -1;            // standard input; /dev/null when -1
    bool changeIdentity = false; // only as root
    uid_t uid = 0;
    gid_t gid = 0;
    std::vector<gid_t> groups;
    QByteArray userName; // the uid's number when it has no name
    QByteArray home;     // "/" when it has none
};

struct LaunchedScript {
    pid_t pid = -1; // also the process group
    int outputFd = -1;
    int pidFd = -1; // readable once the process has exited
    QString error;
};

// The identity, groups, name and home the script runs with: whoever owns path when we are root, else
// our own; false when path cannot be read. The user database is read again only when /etc/passwd or
// /etc/group changed.
bool fillOwnerIdentity(const QString& path, LaunchPlan* plan);

LaunchedScript launchScript(const LaunchPlan& plan);

} // namespace brisko::daemon
