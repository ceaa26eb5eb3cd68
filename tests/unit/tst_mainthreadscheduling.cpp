#include "fakes/VirtualTime.h"
#include "models/EventLoopScheduler.h"

#include <QElapsedTimer>
#include <QTest>

class MainThreadSchedulingTest : public QObject {
    Q_OBJECT

private slots:
    void virtualTimeRunsTasksInTimeOrder() {
        VirtualTime time;
        QObject context;
        QStringList log;
        time.postDelayed(&context, 1.5, [&] { log << "clean-up"; });
        time.post(&context, [&] {
            log << "posted";
            time.post(&context, [&] { log << "posted from a task"; });
        });
        auto timer = time.scheduleRepeating(&context, 1.0, [&] { log << "tick"; });
        QCOMPARE(timer->interval(), 1.0);
        QVERIFY(log.isEmpty());

        time.runPending();
        QCOMPARE(log, (QStringList{"posted", "posted from a task"}));
        const QDateTime start = time.now();
        time.advance(2.0);
        QCOMPARE(log, (QStringList{"posted", "posted from a task", "tick", "clean-up", "tick"}));
        QCOMPARE(time.now(), start.addSecs(2));
    }

    void virtualTasksDieWithTheirContextOrTimer() {
        VirtualTime time;
        int runs = 0;
        auto *context = new QObject;
        time.postDelayed(context, 1, [&] { ++runs; });
        auto timer = time.scheduleRepeating(context, 1, [&] { ++runs; });
        QObject other;
        auto stopped = time.scheduleRepeating(&other, 1, [&] { ++runs; });
        stopped->invalidate();
        delete context;
        time.advance(5);
        QCOMPARE(runs, 0);
        QCOMPARE(time.pendingCount(), 0);
    }

    void eventLoopSchedulerRunsLaterOnTheMainThread() {
        EventLoopScheduler scheduler;
        QObject context;
        bool posted = false;
        scheduler.post(&context, [&] { posted = true; });
        QVERIFY(!posted);
        QTRY_VERIFY(posted);

        QElapsedTimer clock;
        clock.start();
        qint64 delayedAfter = -1;
        scheduler.postDelayed(&context, 0.05, [&] { delayedAfter = clock.elapsed(); });
        QTRY_VERIFY(delayedAfter >= 0);
        QVERIFY(delayedAfter >= 45);

        int ticks = 0;
        auto timer = scheduler.scheduleRepeating(&context, 0.01, [&] { ++ticks; });
        QTRY_VERIFY(ticks >= 3);
        timer->invalidate();
        const int stoppedAt = ticks;
        QTest::qWait(50);
        QCOMPARE(ticks, stoppedAt);
    }

    void eventLoopTasksDieWithTheirContext() {
        EventLoopScheduler scheduler;
        int runs = 0;
        auto *context = new QObject;
        scheduler.post(context, [&] { ++runs; });
        scheduler.postDelayed(context, 0.01, [&] { ++runs; });
        auto timer = scheduler.scheduleRepeating(context, 0.01, [&] { ++runs; });
        delete context;
        QTest::qWait(60);
        QCOMPARE(runs, 0);
        timer.reset(); // its timer went with the context; destroying the handle is still safe
    }
};

QTEST_GUILESS_MAIN(MainThreadSchedulingTest)
#include "tst_mainthreadscheduling.moc"
