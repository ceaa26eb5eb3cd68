#include "EventLoopScheduler.h"

#include <cmath>
#include <QPointer>
#include <QTimer>

namespace {

int milliseconds(double seconds) {
    return int(std::lround(seconds * 1000.0));
}

class EventLoopTimer final : public RepeatingTimer {
public:
    EventLoopTimer(QObject *context, double seconds, std::function<void()> task)
        : m_interval(seconds) {
        m_timer = new QTimer(context);
        m_timer->setInterval(milliseconds(seconds));
        QObject::connect(m_timer, &QTimer::timeout, context, std::move(task));
        m_timer->start();
    }
    ~EventLoopTimer() override { invalidate(); }

    double interval() const override { return m_interval; }
    void invalidate() override { delete m_timer.data(); }

private:
    double m_interval;
    QPointer<QTimer> m_timer;
};

} // namespace

void EventLoopScheduler::post(QObject *context, std::function<void()> task) {
    QMetaObject::invokeMethod(context, std::move(task), Qt::QueuedConnection);
}

void EventLoopScheduler::postDelayed(QObject *context, double seconds, std::function<void()> task) {
    QTimer::singleShot(milliseconds(seconds), Qt::PreciseTimer, context, std::move(task));
}

std::unique_ptr<RepeatingTimer> EventLoopScheduler::scheduleRepeating(QObject *context,
                                                                      double seconds,
                                                                      std::function<void()> task) {
    return std::make_unique<EventLoopTimer>(context, seconds, std::move(task));
}
