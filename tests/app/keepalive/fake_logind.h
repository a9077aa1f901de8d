#pragma once
// A stand-in for logind's Manager on a private bus: hands out one end of a pipe as the lock,
// so a test can see from the other end whether the lock is still held.

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QStringList>

#include <poll.h>
#include <unistd.h>

class FakeLogind : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    ~FakeLogind() override { closeLock(); }

    int calls = 0;
    QStringList lastArguments;

    // True while the descriptor handed out last is open anywhere.
    bool lockHeldElsewhere() const {
        if (readEnd_ < 0) return false;
        pollfd fd{readEnd_, POLLIN, 0};
        return ::poll(&fd, 1, 0) == 0;
    }

public slots:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why, const QString& mode) {
        ++calls;
        lastArguments = {what, who, why, mode};
        closeLock();
        int ends[2];
        if (::pipe(ends) != 0) return {};
        readEnd_ = ends[0];
        QDBusUnixFileDescriptor lock(ends[1]); // keeps a duplicate
        ::close(ends[1]);
        return lock;
    }

private:
    void closeLock() {
        if (readEnd_ >= 0) ::close(readEnd_);
        readEnd_ = -1;
    }

    int readEnd_ = -1;
};
