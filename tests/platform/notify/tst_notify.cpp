// The notification channel on the shared test bus: fan-out, wire format, one-shot registrations.

#include "platform/notify/notify.h"
#include "tests/platform/notify/notify_test_support.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QSemaphore>
#include <QThreadPool>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace brisko;
using namespace brisko::test;

class NotifyTest : public QObject {
    Q_OBJECT

    QStringList tapped_;

    // Names unique to this run: other tests share the bus.
    static QString uniqueName(const char* what) {
        static int counter = 0;
        return QStringLiteral("com.brisko.test.%1.%2.%3")
            .arg(QCoreApplication::applicationPid())
            .arg(++counter)
            .arg(QLatin1String(what));
    }

public slots:
    void tap(const QString& name) { tapped_.append(name); }

private slots:
    void initTestCase() { QVERIFY(notify::waitUntilReady(5000)); }

    void fanOutReachesEveryObserverProcess() {
        const QString name = uniqueName("fanout");
        auto first = startObserver(name), second = startObserver(name);
        QVERIFY(first && second);
        notify::post(name);
        const QByteArray expected = "received " + name.toUtf8() + "\n";
        QCOMPARE(observerOutput(*first), expected);
        QCOMPARE(observerOutput(*second), expected);
        QCOMPARE(first->exitCode(), 0);
        QCOMPARE(second->exitCode(), 0);
    }

    void commandLinePostReachesObserver() {
        const QString name = uniqueName("cli");
        auto observer = startObserver(name);
        QVERIFY(observer);
        QCOMPARE(postFromCommandLine(name), 0);
        QCOMPARE(observerOutput(*observer), "received " + name.toUtf8() + "\n");
    }

    // A raw connection that hears every post proves both the wire format and that an empty
    // name never reaches the bus.
    void emptyNamePostsNothing() {
        auto bus = QDBusConnection::systemBus();
        QVERIFY(bus.connect(QString(), "/com/brisko/Notify", "com.brisko.Notify", "Post", this,
                            SLOT(tap(QString))));
        QVERIFY(QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId")).type()
                == QDBusMessage::ReplyMessage);
        const QString marker = uniqueName("marker");
        notify::post(QString());
        notify::post(QLatin1String(""));
        notify::post(marker);
        QTRY_VERIFY(tapped_.contains(marker));
        QVERIFY(!tapped_.contains(QString()));
        bus.disconnect(QString(), "/com/brisko/Notify", "com.brisko.Notify", "Post", this,
                       SLOT(tap(QString)));
    }

    // The launch blocks the main thread while it waits for an answer: delivery must not need it.
    void deliveryDoesNotNeedTheMainThread_data() {
        QTest::addColumn<bool>("oneShot");
        QTest::newRow("observer") << false;
        QTest::newRow("one-shot registration") << true;
    }
    void deliveryDoesNotNeedTheMainThread() {
        QFETCH(bool, oneShot);
        const QString name = uniqueName("blocked");
        auto arrived = std::make_shared<QSemaphore>();
        if (oneShot) {
            notify::Token token = 0;
            QCOMPARE(notify::registerDispatch(name, [arrived](notify::Token) { arrived->release(); }, &token), 0);
        } else {
            notify::addObserver(name, [arrived] { arrived->release(); });
        }
        notify::post(name);
        QVERIFY(arrived->tryAcquire(1, 2000)); // no event processing here
    }

    void cancelEndsOneShotRegistration() {
        const QString name = uniqueName("oneshot"), marker = uniqueName("after");
        std::atomic<int> calls{0}, seenToken{0};
        notify::Token token = 0;
        QCOMPARE(notify::registerDispatch(name, [&](notify::Token t) { seenToken = t; ++calls; }, &token), 0);
        auto markerSeen = std::make_shared<QSemaphore>();
        notify::addObserver(marker, [markerSeen] { markerSeen->release(); });
        notify::post(name);
        QTRY_COMPARE(calls.load(), 1);
        QCOMPARE(seenToken.load(), token);

        notify::cancel(token);
        notify::post(name);
        notify::post(marker); // delivered in order: once it is seen, the second post was too
        QVERIFY(markerSeen->tryAcquire(1, 2000));
        QThreadPool::globalInstance()->waitForDone(2000);
        QCOMPARE(calls.load(), 1);
    }
};

QTEST_GUILESS_MAIN(NotifyTest)
#include "tst_notify.moc"
