#pragma once

#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>

// Asks again until the condition holds or the time is up; whether it holds.
template <typename Condition>
bool waitUntil(int milliseconds, Condition condition, unsigned long pollMs = 50) {
    const QDeadlineTimer deadline(milliseconds);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(pollMs);
    }
    return true;
}

// Starts a program of a test session on its own, its input and output on /dev/null; its pid, or
// 0 when it could not start.
inline qint64 startDetached(const QString &program, const QStringList &arguments,
                            const QProcessEnvironment &environment) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    qint64 processIdentifier = 0;
    return process.startDetached(&processIdentifier) ? processIdentifier : 0;
}
