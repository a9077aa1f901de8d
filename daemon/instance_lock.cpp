#include "instance_lock.h"

#include "daemon/logging.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace brisko::daemon {

bool acquireInstanceLock(const QString& documents) {
    const QByteArray path = QFile::encodeName(documents + QStringLiteral("/.floatball.lock"));
    const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        qCDebug(lcDaemon, "lock %s: %s", path.constData(), strerror(errno));
        return false;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        qCDebug(lcDaemon, "another daemon serves %s", qPrintable(documents));
        ::close(fd);
        return false;
    }
    return true; // the descriptor stays open: the lock ends with the process
}

} // namespace brisko::daemon
