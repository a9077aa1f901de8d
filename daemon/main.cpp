// floatball DOCUMENTS [--autorun]: the runner daemon. Started with an empty environment, it
// keeps running when the application quits; a second one for the same folder leaves at once.

#include "daemon/Floatball.h"
#include "daemon/instance_lock.h"
#include "daemon/logging.h"

#include <QCoreApplication>
#include <QDir>

#include <csignal>

using namespace brisko::daemon;

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3 || (argc == 3 && qstrcmp(argv[2], "--autorun") != 0)) return 64;
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication app(argc, argv);
    const QString documents = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    if (!QDir().mkpath(documents) || !acquireInstanceLock(documents)) return 0;
    Floatball daemon(documents);
    if (!daemon.start()) return 1;
    if (argc == 3) {
        const QString error = daemon.supervisor().start();
        if (!error.isEmpty()) qCDebug(lcDaemon, "autorun: %s", qPrintable(error));
    }
    return app.exec();
}
