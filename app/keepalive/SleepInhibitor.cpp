#include "SleepInhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace brisko {

void SleepInhibitor::acquire(const QString& what, const QString& who, const QString& why,
                             const QString& mode) {
    if (isHeld() || pending_) return;
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) return;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    call << what << who << why << mode;
    pending_ = true;
    const quint64 request = ++request_;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, request](QDBusPendingCallWatcher* call) {
                QDBusPendingReply<QDBusUnixFileDescriptor> reply = *call;
                call->deleteLater();
                answerArrived(request, reply.isValid() ? reply.value() : QDBusUnixFileDescriptor());
            });
}

void SleepInhibitor::answerArrived(quint64 request, const QDBusUnixFileDescriptor& lock) {
    if (request != request_) return; // released meanwhile: dropping it closes the descriptor
    pending_ = false;
    lock_ = lock;
    emit stateChanged();
}

void SleepInhibitor::release() {
    ++request_;
    const bool changed = pending_ || isHeld();
    pending_ = false;
    lock_ = QDBusUnixFileDescriptor();
    if (changed) emit stateChanged();
}

} // namespace brisko
