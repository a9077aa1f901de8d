#pragma once
// The process's one link to the notification bus: connection, reconnection and the observer tables.

#include "platform/notify/notify.h"

#include <QDBusConnection>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QThread>

#include <optional>

class QTimer;

namespace brisko::notify {

inline constexpr char kObjectPath[] = "/com/brisko/Notify";
inline constexpr char kInterface[] = "com.brisko.Notify";
inline constexpr char kSignal[] = "Post";

// Lives on its own thread: signals are received there, so delivery never waits for a busy
// main thread (the launch blocks it while it waits for an answer).
class Channel : public QObject {
    Q_OBJECT
  public:
    static Channel& instance();

    void post(const QString& name);
    void addObserver(const QString& name, Handler handler);
    Token registerDispatch(const QString& name, std::function<void(Token)> handler);
    void cancel(Token token);
    bool waitUntilReady(int timeoutMs);

  private slots:
    void onPost(const QString& name);
    void onDisconnected();
    void startWatching();
    void checkConnection();
    void reconnect();

  private:
    struct Dispatch {
        QString name;
        std::function<void(Token)> handler;
    };

    Channel();
    bool attach();
    void watchLocked(const QString& name);
    void addRule(QDBusConnection& connection, const QString& name);
    std::optional<QDBusConnection> liveConnection();
    bool isRegistered(Token token);
    static void stopThread();

    QThread thread_;
    QTimer* watchdog_;
    QTimer* retry_;
    int backoffMs_;
    int generation_ = 0;

    QMutex mutex_; // guards everything below
    std::optional<QDBusConnection> connection_;
    QString connectionName_;
    QSet<QString> watched_;
    QHash<QString, QList<Handler>> observers_;
    QHash<Token, Dispatch> dispatches_;
    Token nextToken_ = 1;
};

} // namespace brisko::notify
