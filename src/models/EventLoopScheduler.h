#pragma once

#include "Scheduler.h"

// The scheduler of the running program: Qt's event loop and timers on the GUI thread.
class EventLoopScheduler final : public Scheduler {
public:
    void post(QObject *context, std::function<void()> task) override;
    void postDelayed(QObject *context, double seconds, std::function<void()> task) override;
    std::unique_ptr<RepeatingTimer> scheduleRepeating(QObject *context, double seconds,
                                                      std::function<void()> task) override;
};
