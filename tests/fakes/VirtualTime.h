#pragma once

#include "models/Clock.h"
#include "models/Scheduler.h"

#include <cmath>
#include <map>
#include <QDateTime>
#include <QPointer>
#include <QTimeZone>

// A clock and main-thread scheduler in virtual time: nothing runs until the test says so, and no
// test sleeps.
class VirtualTime final : public Clock, public Scheduler {
public:
    QDateTime now() const override { return m_now; }

    void post(QObject *context, std::function<void()> task) override {
        postDelayed(context, 0, std::move(task));
    }
    void postDelayed(QObject *context, double seconds, std::function<void()> task) override {
        m_tasks.emplace(std::pair(m_now.addMSecs(std::llround(seconds * 1000)), m_sequence++),
                        std::pair(context, std::move(task)));
    }
    std::unique_ptr<RepeatingTimer> scheduleRepeating(QObject *context, double seconds,
                                                      std::function<void()> task) override;

    // Runs, in time order, everything that falls due within the next seconds (tasks posted
    // meanwhile included), then moves the clock to the end of that span.
    void advance(double seconds) {
        const QDateTime end = m_now.addMSecs(std::llround(seconds * 1000));
        while (!m_tasks.empty() && m_tasks.begin()->first.first <= end) {
            auto next = m_tasks.extract(m_tasks.begin());
            m_now = next.key().first;
            if (const auto &[context, task] = next.mapped(); context)
                task();
        }
        m_now = end;
    }
    // Runs what is due now, including what that posts for now.
    void runPending() { advance(0); }
    // Tasks posted and not yet run, however far ahead.
    int pendingCount() const { return int(m_tasks.size()); }

private:
    QDateTime m_now{QDate(2026, 11, 23), QTime(9, 0), QTimeZone::utc()};
    quint64 m_sequence = 0;
    // By due time, then in the order of posting.
    std::map<std::pair<QDateTime, quint64>, std::pair<QPointer<QObject>, std::function<void()>>>
        m_tasks;
};
