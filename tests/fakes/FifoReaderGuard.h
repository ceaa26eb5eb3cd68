#pragma once

#include <fcntl.h>
#include <functional>
#include <memory>
#include <QFile>
#include <QStringList>
#include <QThread>
#include <unistd.h>

// Runs work on a thread of its own; whether it ended within the deadline. When it did not, a
// writer opens and closes each FIFO until the work ends: a reader blocked on one is let go, so
// that a test fails instead of hanging.
inline bool endsWithin(int milliseconds, const QStringList &fifos, std::function<void()> work) {
    std::unique_ptr<QThread> thread(QThread::create(std::move(work)));
    thread->start();
    if (thread->wait(QDeadlineTimer(milliseconds)))
        return true;
    while (!thread->isFinished()) {
        for (const QString &path : fifos)
            if (const int fd = open(QFile::encodeName(path).constData(), O_WRONLY | O_NONBLOCK);
                fd >= 0)
                close(fd);
        thread->wait(QDeadlineTimer(100));
    }
    return false;
}
