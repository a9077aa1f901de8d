#pragma once
// A logind inhibitor lock ("Inhibit" on org.freedesktop.login1.Manager, system bus). The lock
// lasts as long as logind's file descriptor stays open here.

#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>

namespace brisko {

class SleepInhibitor : public QObject {
    Q_OBJECT

  public:
    // Asks for the lock without waiting for the answer; does nothing while one is held or
    // asked for. Without a system bus or logind, the request fails quietly.
    void acquire(const QString& what, const QString& who, const QString& why, const QString& mode);
    // Closes the lock; an answer still on its way is dropped on arrival.
    void release();

    bool isHeld() const { return lock_.isValid(); }
    bool isPending() const { return pending_; }

  signals:
    void stateChanged(); // the lock arrived, failed or was released

  private:
    void answerArrived(quint64 request, const QDBusUnixFileDescriptor& lock);

    QDBusUnixFileDescriptor lock_;
    bool pending_ = false;
    quint64 request_ = 0; // identifies the request whose answer is still wanted
};

} // namespace brisko
