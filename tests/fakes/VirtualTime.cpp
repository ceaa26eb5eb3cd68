#include "VirtualTime.h"

namespace {

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

// Runs the task every so many seconds for as long as the timer and the context live.
void repeat(VirtualTime &time, QObject *context, double seconds, std::function<void()> task,
            std::shared_ptr<bool> alive) {
    time.postDelayed(context, seconds, [&time, context, seconds, task, alive] {
        if (!*alive)
            return;
        task();
        repeat(time, context, seconds, task, alive);
    });
}

} // namespace

std::unique_ptr<RepeatingTimer> VirtualTime::scheduleRepeating(QObject *context, double seconds,
                                                               std::function<void()> task) {
    auto alive = std::make_shared<bool>(true);
    repeat(*this, context, seconds, std::move(task), alive);
    return std::make_unique<VirtualTimer>(seconds, alive);
}
