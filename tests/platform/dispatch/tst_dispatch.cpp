// Main-queue hops from other threads, delayed blocks in order, and the main-thread test.

#include "platform/dispatch/dispatch.h"

#include <QtTest>

#include <atomic>

using namespace brisko;

class DispatchTest : public QObject {
    Q_OBJECT

  private slots:
    void workerHopsToTheMainThreadInOrder() {
        QStringList order;
        std::atomic<bool> workerWasMain{true};
        dispatchGlobalAsync([&] {
            workerWasMain = isMainThread();
            for (int i = 0; i < 3; ++i)
                dispatchMainAsync([&order, i] { order << QString("%1:%2").arg(i).arg(isMainThread()); });
        });
        QTRY_COMPARE(order, QStringList({"0:1", "1:1", "2:1"}));
        QVERIFY(!workerWasMain);
        QVERIFY(isMainThread());
    }

    void delayedBlocksRunInDeadlineOrderOnTheTimer() {
        QStringList order;
        dispatchMainAfter(0.3, [&] { order << "late"; });
        dispatchMainAfter(0.1, [&] { order << "early"; });
        dispatchMainAfter(-1, [&] { order << "now"; });
        QTRY_COMPARE(order, QStringList({"now", "early", "late"}));
    }

    void delayedBlockRequestedFromAWorkerRunsOnMain() {
        std::atomic<int> ranOnMain{-1};
        dispatchGlobalAsync([&] { dispatchMainAfter(0.05, [&] { ranOnMain = isMainThread(); }); });
        QTRY_COMPARE(ranOnMain.load(), 1);
    }
};

QTEST_GUILESS_MAIN(DispatchTest)
#include "tst_dispatch.moc"
