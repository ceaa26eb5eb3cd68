#include "VirtualTime.h"

#include <algorithm>
#include <cmath>
#include <QTimeZone>

namespace {

qint64 milliseconds(double seconds) {
    return std::llround(seconds * 1000.0);
}

class VirtualTimer final : public RepeatingTimer {
public:
    VirtualTimer(double interval, std::shared_ptr<bool> alive)
        : m_interval(interval), m_alive(std::move(alive)) {}
    ~VirtualTimer() override { invalidate(); }
    double interval() const override { return m_interval; }
    void invalidate() override { *m_alive = false; }

private:
    double m_interval;
    std::shared_ptr<bool> m_alive;
};

} // namespace

QDateTime VirtualTime::defaultStart() {
    return QDateTime(QDate(2026, 11, 23), QTime(9, 0), QTimeZone::utc());
}

VirtualTime::VirtualTime(QDateTime start) : m_now(std::move(start)) {}

void VirtualTime::schedule(Task task) {
    task.sequence = m_sequence++;
    m_tasks.push_back(std::move(task));
}

void VirtualTime::post(QObject *context, std::function<void()> task) {
    schedule({m_now, 0, context, std::move(task), 0, nullptr});
}

void VirtualTime::postDelayed(QObject *context, double seconds, std::function<void()> task) {
    schedule({m_now.addMSecs(milliseconds(seconds)), 0, context, std::move(task), 0, nullptr});
}

std::unique_ptr<RepeatingTimer> VirtualTime::scheduleRepeating(QObject *context, double seconds,
                                                               std::function<void()> task) {
    auto alive = std::make_shared<bool>(true);
    const qint64 interval = milliseconds(seconds);
    schedule({m_now.addMSecs(interval), 0, context, std::move(task), interval, alive});
    return std::make_unique<VirtualTimer>(seconds, alive);
}

void VirtualTime::advance(double seconds) {
    const QDateTime end = m_now.addMSecs(milliseconds(seconds));
    for (;;) {
        auto next =
            std::min_element(m_tasks.begin(), m_tasks.end(), [](const Task &a, const Task &b) {
                return a.due != b.due ? a.due < b.due : a.sequence < b.sequence;
            });
        if (next == m_tasks.end() || next->due > end)
            break;
        Task task = std::move(*next);
        m_tasks.erase(next);
        const bool cancelled = !task.context || (task.timerAlive && !*task.timerAlive);
        if (cancelled)
            continue;
        m_now = std::max(m_now, task.due);
        task.run();
        if (task.repeatMs > 0 && task.context && *task.timerAlive) {
            task.due = task.due.addMSecs(task.repeatMs);
            schedule(std::move(task));
        }
    }
    m_now = std::max(m_now, end);
}

int VirtualTime::pendingCount() const {
    return int(std::count_if(m_tasks.begin(), m_tasks.end(), [](const Task &task) {
        return task.context && (!task.timerAlive || *task.timerAlive);
    }));
}
