#include "fakes/VirtualTime.h"
#include "models/Observation.h"

#include <QTest>

// A model with two observable properties that notify only on a real change.
class Counter : public QObject {
    Q_OBJECT
public:
    int value() const { return m_value; }
    void setValue(int value) {
        if (value == m_value)
            return;
        m_value = value;
        emit valueChanged();
    }
    void setLabel(const QString &label) {
        if (label == m_label)
            return;
        m_label = label;
        emit labelChanged(label);
    }

signals:
    void valueChanged();
    void labelChanged(const QString &label);

private:
    int m_value = 0;
    QString m_label;
};

class ObservationTest : public QObject {
    Q_OBJECT

private slots:
    void oneShotFiresOnceForTheFirstChangeOfAnyProperty() {
        Counter counter;
        int calls = 0;
        Observation::once({{&counter, &Counter::valueChanged}, {&counter, &Counter::labelChanged}},
                          [&] { ++calls; });
        counter.setValue(0); // no change, no call
        QCOMPARE(calls, 0);
        counter.setLabel("x");
        counter.setValue(3);
        counter.setLabel("y");
        QCOMPARE(calls, 1);
    }

    void oneShotGoesAwayWithTheObservedObject() {
        int calls = 0;
        {
            Counter counter;
            Observation::once({{&counter, &Counter::valueChanged}}, [&] { ++calls; });
        }
        QCOMPARE(calls, 0);
    }

    void rearmingCoalescesChangesIntoOneReactionWithTheLatestValue() {
        VirtualTime time;
        Counter counter;
        QObject owner;
        QList<int> seen;
        Observation::rearming(&owner, time, {{&counter, &Counter::valueChanged}},
                              [&] { seen.append(counter.value()); });
        counter.setValue(1);
        counter.setValue(2);
        counter.setValue(3);
        QVERIFY(seen.isEmpty()); // never inside the change itself
        time.runPending();
        QCOMPARE(seen, QList<int>{3});

        counter.setValue(4); // armed again after the reaction
        time.runPending();
        QCOMPARE(seen, (QList<int>{3, 4}));
        time.runPending();
        QCOMPARE(seen.size(), 2);
    }

    void rearmingStopsWithItsOwner() {
        VirtualTime time;
        Counter counter;
        int calls = 0;
        auto *owner = new QObject;
        Observation::rearming(owner, time, {{&counter, &Counter::valueChanged}}, [&] { ++calls; });
        counter.setValue(1);
        delete owner; // gone before the queued reaction runs
        time.runPending();
        counter.setValue(2);
        time.runPending();
        QCOMPARE(calls, 0);
    }
};

QTEST_GUILESS_MAIN(ObservationTest)
#include "tst_observation.moc"
