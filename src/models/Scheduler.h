#pragma once

#include <functional>
#include <memory>
#include <QObject>

// A timer that repeats until it is invalidated or destroyed.
class RepeatingTimer {
public:
    virtual ~RepeatingTimer() = default;
    virtual double interval() const = 0;
    virtual void invalidate() = 0;
};

// Runs work later on the main thread. Every task is tied to a context object and holds it
// weakly: once the context is destroyed, its pending tasks and timers do nothing.
class Scheduler {
public:
    virtual ~Scheduler() = default;

    // Runs the task on a later turn of the main event loop, after the current work has returned.
    virtual void post(QObject *context, std::function<void()> task) = 0;
    virtual void postDelayed(QObject *context, double seconds, std::function<void()> task) = 0;
    virtual std::unique_ptr<RepeatingTimer> scheduleRepeating(QObject *context, double seconds,
                                                              std::function<void()> task) = 0;
};
