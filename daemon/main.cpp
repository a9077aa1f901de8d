// floatball DOCUMENTS [--autorun]: the runner daemon. Started with an empty environment, it
// keeps running when the application quits; a second one for the same folder leaves at once.

#include "daemon/Floatball.h"
#include "daemon/ball/DaemonBall.h"
#include "daemon/instance_lock.h"
#include "daemon/logging.h"

#include <QCoreApplication>
#include <QDir>

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

using namespace brisko::daemon;

namespace {

int s_quitPipe[2] = {-1, -1};

// A service manager's TERM ends the daemon through its destructors, which end the script too.
void quitOnSignals(QCoreApplication& app) {
    if (pipe2(s_quitPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(s_quitPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
    struct sigaction action {};
    action.sa_handler = [](int) { (void)!::write(s_quitPipe[1], "q", 1); };
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3 || (argc == 3 && qstrcmp(argv[2], "--autorun") != 0)) return 64;
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication app(argc, argv);
    const QString documents = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    if (!QDir().mkpath(documents) || !acquireInstanceLock(documents)) return 0;
    quitOnSignals(app);
    Floatball daemon(documents);
    // Benchmarks that count every line of a large log move the rotation out of the way.
    if (const qint64 rotate = qEnvironmentVariableIntValue("FLOATBALL_LOG_ROTATE_BYTES"); rotate > 0)
        daemon.supervisor().setLogRotationBytes(rotate);
    if (const int port = qEnvironmentVariableIntValue("FLOATBALL_DEBUG_PORT"); port > 0 && port < 65536)
        daemon.setDebugPort(quint16(port));
    if (!daemon.start()) return 1;
    DaemonBall ball(daemon, documents,
                    QCoreApplication::applicationDirPath() + QStringLiteral("/floatball-ball"));
    if (argc == 3) {
        const QString error = daemon.supervisor().start();
        if (!error.isEmpty()) qCDebug(lcDaemon, "autorun: %s", qPrintable(error));
    }
    return app.exec();
}
