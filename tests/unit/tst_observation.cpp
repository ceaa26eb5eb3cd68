#include "fakes/VirtualTime.h"
#include "models/EventLoopScheduler.h"
#include "models/Observation.h"

#include <QTest>

class ObservationTest : public QObject {
    Q_OBJECT

private slots:
    void reactsOnceToChangesOfAnyPropertyAfterThemWatchesAgainAndStopsWithItsOwner() {
        VirtualTime time;
        QObject first;
        QObject second;
        auto *owner = new QObject;
        QStringList seen;
        Observation::rearming(
            owner, time,
            {{&first, &QObject::objectNameChanged}, {&second, &QObject::objectNameChanged}},
            [&] { seen << first.objectName(); });
        for (const char *name : {"1", "2", "3"}) {
            first.setObjectName(name);
            second.setObjectName(name);
        }
        QVERIFY(seen.isEmpty()); // never inside the change itself
        time.runPending();
        QCOMPARE(seen, QStringList{"3"});
        second.setObjectName("armed again");
        time.runPending();
        QCOMPARE(seen, (QStringList{"3", "3"}));

        first.setObjectName("4");
        delete owner; // gone before the reaction runs
        time.runPending();
        first.setObjectName("5");
        time.runPending();
        QCOMPARE(seen.size(), 2);
    }

    void eventLoopSchedulerRunsOnALaterTurnUntilItsContextGoes() {
        EventLoopScheduler scheduler;
        auto *context = new QObject;
        int runs = 0;
        scheduler.post(context, [&] { ++runs; });
        QCOMPARE(runs, 0); // never inline
        QTRY_COMPARE(runs, 1);
        const auto timer = scheduler.scheduleRepeating(context, 0.01, [&] { ++runs; });
        QTRY_VERIFY(runs >= 3);
        scheduler.postDelayed(context, 0.01, [&] { ++runs; });
        scheduler.post(context, [&] { ++runs; });
        delete context;
        const int stoppedAt = runs;
        QTest::qWait(50);
        QCOMPARE(runs, stoppedAt);
    }
};

QTEST_GUILESS_MAIN(ObservationTest)
#include "tst_observation.moc"
