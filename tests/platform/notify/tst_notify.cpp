// The notification channel on the shared test bus.

#include "platform/notify/notify.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace brisko;

namespace {
// Names unique to this run: other tests share the bus.
QString uniqueName(const char* what) {
    static int counter = 0;
    return QString("com.brisko.test.%1.%2%3").arg(qApp->applicationPid()).arg(what).arg(++counter);
}

// A notify_probe observing name; returns once its match rule is on the bus.
std::unique_ptr<QProcess> startObserver(const QString& name) {
    auto probe = std::make_unique<QProcess>();
    probe->start(qEnvironmentVariable("BRISKO_TEST_BIN_DIR") + "/notify_probe", {"observe", name});
    if (!probe->waitForReadyRead(5000) || probe->readLine() != "ready\n") return nullptr;
    return probe;
}
} // namespace

class NotifyTest : public QObject {
    Q_OBJECT

    QStringList tapped_;

  public slots:
    void tap(const QString& name) { tapped_.append(name); }

  private slots:
    void initTestCase() { QVERIFY(notify::waitUntilReady(5000)); }

    void fanOutReachesEveryObserverProcess() {
        const QString name = uniqueName("fanout");
        auto first = startObserver(name), second = startObserver(name);
        QVERIFY(first && second);
        notify::post(name);
        for (QProcess* probe : {first.get(), second.get()}) {
            QVERIFY(probe->waitForFinished(8000));
            QCOMPARE(probe->readAll(), "received " + name.toUtf8() + "\n");
            QCOMPARE(probe->exitCode(), 0);
        }
    }

    // Heard on a raw connection, so the wire format busctl users rely on is pinned down too.
    void emptyNamePostsNothing() {
        auto bus = QDBusConnection::systemBus();
        QVERIFY(bus.connect(QString(), "/com/brisko/Notify", "com.brisko.Notify", "Post", this,
                            SLOT(tap(QString))));
        // A round trip puts the match rule in place before the posts.
        QVERIFY(bus.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                        "org.freedesktop.DBus", "GetId"))
                    .type() == QDBusMessage::ReplyMessage);
        const QString marker = uniqueName("marker");
        notify::post(QLatin1String(""));
        notify::post(marker);
        QTRY_VERIFY(tapped_.contains(marker));
        QCOMPARE(tapped_, QStringList{marker});
    }

    // Nothing here spins the event loop: the launch blocks the main thread while it waits for an
    // answer, so delivery must not need it.
    void dispatchRunsUntilCancelledWithoutTheMainThread() {
        const QString name = uniqueName("dispatch"), marker = uniqueName("marker");
        static std::atomic<int> seenToken{0}; // handlers may outlive this function
        auto calls = std::make_shared<QSemaphore>(), markers = std::make_shared<QSemaphore>();
        notify::addObserver(marker, [markers] { markers->release(); });
        notify::Token token = 0;
        const auto handler = [calls](notify::Token t) { seenToken = t, calls->release(); };
        QCOMPARE(notify::registerDispatch(name, handler, &token), 0);
        notify::post(name);
        QVERIFY(calls->tryAcquire(1, 2000));
        QCOMPARE(seenToken.load(), token);

        notify::cancel(token);
        notify::post(name);
        notify::post(marker); // delivered in order: once it is seen, the post before it was too
        QVERIFY(markers->tryAcquire(1, 2000));
        QThreadPool::globalInstance()->waitForDone(2000);
        QCOMPARE(calls->available(), 0);
    }
};

QTEST_GUILESS_MAIN(NotifyTest)
#include "tst_notify.moc"
