#pragma once

#include <QObject>
#include <QPointer>
#include <QtConcurrent/qtconcurrenttask.h>
#include <QThreadPool>
#include <type_traits>

// Work off the main thread whose result comes back to it: the only way the models leave it.
class BackgroundTask {
public:
    // Queue priorities in the pool: what the user waits for goes first.
    static constexpr int userInitiated = 2;
    static constexpr int utility = 1;

    // Runs work in the pool and hands its result to receive on a later turn of the main event
    // loop, never inside this call, and only while owner is still there. The hand-back goes
    // through the pool, which outlives its tasks (it waits for them when it goes).
    template <typename Work, typename Receive>
    static void run(QThreadPool &pool, int priority, QObject *owner, Work work, Receive receive) {
        using Result = std::invoke_result_t<Work>;
        QtConcurrent::task(std::move(work))
            .onThreadPool(pool)
            .withPriority(priority)
            .spawn()
            .then([&pool, owner = QPointer<QObject>(owner),
                   receive = std::move(receive)](Result result) {
                QMetaObject::invokeMethod(
                    &pool,
                    [owner, receive, result = std::move(result)] {
                        if (owner)
                            receive(result);
                    },
                    Qt::QueuedConnection);
            });
    }
};
