#pragma once

#include "models/Clock.h"
#include "models/Scheduler.h"

#include <memory>
#include <QDateTime>
#include <QPointer>
#include <vector>

// A clock and main-thread scheduler in virtual time: nothing runs until the test says so, and no
// test sleeps.
class VirtualTime final : public Clock, public Scheduler {
public:
    static QDateTime defaultStart();

    explicit VirtualTime(QDateTime start = defaultStart());

    QDateTime now() const override { return m_now; }
    void setNow(const QDateTime &now) { m_now = now; }

    void post(QObject *context, std::function<void()> task) override;
    void postDelayed(QObject *context, double seconds, std::function<void()> task) override;
    std::unique_ptr<RepeatingTimer> scheduleRepeating(QObject *context, double seconds,
                                                      std::function<void()> task) override;

    // Runs, in time order, everything that falls due within the next seconds (tasks posted
    // meanwhile included), then moves the clock to the end of that span.
    void advance(double seconds);
    // Runs what is due now, including what that posts for now.
    void runPending() { advance(0); }
    // Tasks and timers still waiting whose context is alive.
    int pendingCount() const;

private:
    struct Task {
        QDateTime due;
        quint64 sequence;
        QPointer<QObject> context;
        std::function<void()> run;
        qint64 repeatMs = 0;
        std::shared_ptr<bool> timerAlive;
    };
    void schedule(Task task);

    QDateTime m_now;
    quint64 m_sequence = 0;
    std::vector<Task> m_tasks;
};
