#include "platform/notify/Channel.h"

#include "platform/dispatch/dispatch.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace brisko::notify {

namespace {

Q_LOGGING_CATEGORY(lcNotify, "brisko.notify", QtInfoMsg)

constexpr int kWatchdogMs = 200;
constexpr int kFirstBackoffMs = 50;
constexpr int kMaxBackoffMs = 2000;

} // namespace

Channel& Channel::instance() {
    // Never destroyed: observers live until the process ends.
    static Channel* channel = new Channel;
    return *channel;
}

Channel::Channel() : watchdog_(new QTimer(this)), retry_(new QTimer(this)), backoffMs_(kFirstBackoffMs) {
    thread_.setObjectName(QStringLiteral("brisko-notify"));
    retry_->setSingleShot(true);
    connect(watchdog_, &QTimer::timeout, this, &Channel::checkConnection);
    connect(retry_, &QTimer::timeout, this, &Channel::reconnect);
    // Connect before the thread runs, so the first post right after start-up goes out.
    attach();
    moveToThread(&thread_);
    thread_.start();
    QMetaObject::invokeMethod(this, &Channel::startWatching, Qt::QueuedConnection);
    qAddPostRoutine(&Channel::stopThread);
}

void Channel::stopThread() {
    Channel& channel = instance();
    channel.thread_.quit();
    channel.thread_.wait();
}

void Channel::startWatching() {
    watchdog_->start(kWatchdogMs);
}

bool Channel::attach() {
    const QString name = QStringLiteral("brisko.notify.%1").arg(++generation_);
    QDBusConnection connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
    if (!connection.isConnected()) {
        QDBusConnection::disconnectFromBus(name);
        return false;
    }
    connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                       QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                       SLOT(onDisconnected()));
    QMutexLocker lock(&mutex_);
    for (const QString& watchedName : std::as_const(watched_))
        addRule(connection, watchedName);
    const QString oldName = std::exchange(connectionName_, name);
    connection_ = connection;
    lock.unlock();
    if (!oldName.isEmpty()) QDBusConnection::disconnectFromBus(oldName);
    return true;
}

void Channel::addRule(QDBusConnection& connection, const QString& name) {
    // An arg0 match lets the bus drop the names nobody here observes.
    connection.connect(QString(), QLatin1String(kObjectPath), QLatin1String(kInterface),
                       QLatin1String(kSignal), QStringList{name}, QStringLiteral("s"), this,
                       SLOT(onPost(QString)));
}

void Channel::watchLocked(const QString& name) {
    if (watched_.contains(name)) return;
    watched_.insert(name);
    if (connection_ && connection_->isConnected()) addRule(*connection_, name);
}

std::optional<QDBusConnection> Channel::liveConnection() {
    QMutexLocker lock(&mutex_);
    if (!connection_ || !connection_->isConnected()) return std::nullopt;
    return connection_;
}

void Channel::checkConnection() {
    if (liveConnection() || retry_->isActive()) return;
    retry_->start(backoffMs_);
}

void Channel::onDisconnected() {
    checkConnection();
}

void Channel::reconnect() {
    if (liveConnection()) return;
    if (attach()) {
        qCDebug(lcNotify, "reconnected to the system bus");
        backoffMs_ = kFirstBackoffMs;
        return;
    }
    backoffMs_ = std::min(backoffMs_ * 2, kMaxBackoffMs);
    qCDebug(lcNotify, "system bus unreachable; next try in %d ms", backoffMs_);
    retry_->start(backoffMs_);
}

void Channel::post(const QString& name) {
    auto connection = liveConnection();
    if (!connection) { // nobody to tell: dropped, like any unacknowledged post
        qCDebug(lcNotify) << "no bus: dropped" << name;
        return;
    }
    QDBusMessage message = QDBusMessage::createSignal(QLatin1String(kObjectPath), QLatin1String(kInterface),
                                                      QLatin1String(kSignal));
    message << name;
    connection->send(message);
}

void Channel::addObserver(const QString& name, Handler handler) {
    QMutexLocker lock(&mutex_);
    observers_[name].append(std::move(handler));
    watchLocked(name);
}

Token Channel::registerDispatch(const QString& name, std::function<void(Token)> handler) {
    QMutexLocker lock(&mutex_);
    const Token token = nextToken_++;
    dispatches_.insert(token, Dispatch{name, std::move(handler)});
    watchLocked(name);
    return token;
}

void Channel::cancel(Token token) {
    QMutexLocker lock(&mutex_);
    dispatches_.remove(token);
}

bool Channel::isRegistered(Token token) {
    QMutexLocker lock(&mutex_);
    return dispatches_.contains(token);
}

void Channel::onPost(const QString& name) {
    QMutexLocker lock(&mutex_);
    const QList<Handler> handlers = observers_.value(name);
    QList<std::pair<Token, std::function<void(Token)>>> dispatches;
    for (auto it = dispatches_.cbegin(); it != dispatches_.cend(); ++it) {
        if (it->name == name) dispatches.append({it.key(), it->handler});
    }
    lock.unlock();
    for (const Handler& handler : handlers)
        handler();
    for (auto& [token, handler] : dispatches) {
        // Checked again on the pool: a cancel that raced the delivery wins.
        dispatchGlobalAsync([this, token = token, handler = std::move(handler)] {
            if (isRegistered(token)) handler(token);
        });
    }
}

bool Channel::waitUntilReady(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        if (auto connection = liveConnection()) {
            // Messages on one connection are handled in order, so an answer here means the
            // bus has every match rule and post sent before it.
            QDBusMessage getId = QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
            const int remaining = int(std::max<qint64>(1, deadline.remainingTime()));
            if (connection->call(getId, QDBus::Block, remaining).type() == QDBusMessage::ReplyMessage)
                return true;
        }
        if (deadline.hasExpired()) return false;
        QThread::msleep(std::min<qint64>(10, std::max<qint64>(1, deadline.remainingTime())));
    }
}

} // namespace brisko::notify
