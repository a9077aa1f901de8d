#include "session_display.h"

#include "daemon/logging.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QFile>
#include <QList>

namespace brisko::daemon {
namespace {

constexpr int kLogindTimeoutMs = 500;
const QString kLogind = QStringLiteral("org.freedesktop.login1");

struct SessionEntry {
    QString id;
    uint uid = 0;
    QDBusObjectPath path;
};

// Plain calls, no introspection: a bus without logind must answer at once.
QDBusMessage callLogind(const QString& path, const QString& interface, const QString& method,
                        const QVariantList& arguments = {}) {
    QDBusMessage call = QDBusMessage::createMethodCall(kLogind, path, interface, method);
    call.setArguments(arguments);
    return QDBusConnection::systemBus().call(call, QDBus::Block, kLogindTimeoutMs);
}

QVariant sessionProperty(const QDBusObjectPath& path, const QString& name) {
    const QDBusMessage reply =
        callLogind(path.path(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                   {QStringLiteral("org.freedesktop.login1.Session"), name});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return {};
    return reply.arguments().first().value<QDBusVariant>().variant();
}

QList<SessionEntry> listSessions() {
    const QDBusMessage reply =
        callLogind(QStringLiteral("/org/freedesktop/login1"),
                   QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("ListSessions"));
    QList<SessionEntry> sessions;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return sessions;
    const QDBusArgument array = reply.arguments().first().value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        SessionEntry entry;
        QString user, seat;
        array.beginStructure();
        array >> entry.id >> entry.uid >> user >> seat >> entry.path;
        array.endStructure();
        sessions << entry;
    }
    array.endArray();
    return sessions;
}

// The session leader's environment says which Xauthority file its X server trusts.
QByteArray leaderXauthority(uint leader) {
    QFile environ(QStringLiteral("/proc/%1/environ").arg(leader));
    if (!environ.open(QIODevice::ReadOnly)) return {};
    for (const QByteArray& entry : environ.readAll().split('\0'))
        if (entry.startsWith("XAUTHORITY=")) return entry.mid(11);
    return {};
}

SessionDisplay sessionDisplay(const QDBusObjectPath& path) {
    const QByteArray display = sessionProperty(path, QStringLiteral("Display")).toString().toUtf8();
    if (display.isEmpty()) return {};
    return {display, leaderXauthority(sessionProperty(path, QStringLiteral("Leader")).toUInt())};
}

SessionDisplay ownEnvironment() {
    return {qgetenv("DISPLAY"), qgetenv("XAUTHORITY")};
}

} // namespace

SessionDisplay findSessionDisplay(uid_t uid) {
    const QList<SessionEntry> sessions = listSessions();
    if (sessions.isEmpty()) {
        qCDebug(lcDaemon, "no logind sessions; scripts get the daemon's own display");
        return ownEnvironment();
    }
    SessionDisplay any;
    for (const SessionEntry& entry : sessions) {
        const SessionDisplay found = sessionDisplay(entry.path);
        if (found.display.isEmpty()) continue;
        if (entry.uid == uid) return found;
        if (any.display.isEmpty()) any = found;
    }
    return any.display.isEmpty() ? ownEnvironment() : any;
}

SessionDisplays::SessionDisplays(QObject* parent) : QObject(parent) {
    const QString manager = QStringLiteral("org.freedesktop.login1.Manager");
    QDBusConnection bus = QDBusConnection::systemBus();
    for (const QString& signal : {QStringLiteral("SessionNew"), QStringLiteral("SessionRemoved")})
        if (!bus.connect(kLogind, QStringLiteral("/org/freedesktop/login1"), manager, signal, this,
                         SLOT(sessionsChanged())))
            qCDebug(lcDaemon, "cannot follow logind's %s; the display is looked up once", qPrintable(signal));
}

SessionDisplay SessionDisplays::forUser(uid_t uid) const {
    const auto known = known_.constFind(uid);
    if (known != known_.cend()) return *known;
    return *known_.insert(uid, findSessionDisplay(uid));
}

void SessionDisplays::sessionsChanged() {
    known_.clear();
    emit changed();
}

} // namespace brisko::daemon
