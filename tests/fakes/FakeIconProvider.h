#pragma once

#include "platform/IconProvider.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QSet>
#include <QStringList>
#include <QWaitCondition>

class QThread;

// A simulated icon service. It records every call and the thread it ran on, can hold lookups
// until the test lets them finish, and counts how many run at the same time.
class FakeIconProvider final : public IconProvider {
public:
    // The icon the fake answers for a path: a solid colour of its own at the given edge.
    static QImage iconFor(const QString &path, int edge);

    QImage iconForFile(const QString &path, int size) const override;
    QImage symbolImage(const QString &name, int size) const override;

    // Answers icons of this edge length whatever size is asked for; 0 answers the size asked.
    void setIconEdge(int edge);
    // The image answered for "app.fill"; a null image when the platform has no such symbol.
    void setFallbackSymbol(const QImage &image);
    static QImage defaultFallbackSymbol();

    // While holding, every lookup waits until the test releases it.
    void setHolding(bool holding);
    // Lets the lookups that wait now finish.
    void releaseWaiting();
    QStringList waitingPaths() const;

    // Paths asked for, in the order of the calls, duplicates included.
    QStringList requestedPaths() const;
    int symbolRequestCount() const;
    int maxConcurrentLookups() const;
    // Whether any call, lookup or symbol, ran on this thread.
    bool wasCalledOn(const QThread *thread) const;

private:
    void begin(const QString &path) const;
    void waitForRelease(const QString &path) const;
    void end() const;

    mutable QMutex m_lock;
    mutable QWaitCondition m_released;
    mutable QStringList m_requested;
    mutable QStringList m_waiting;
    mutable QSet<const QThread *> m_threads;
    mutable int m_symbolRequests = 0;
    mutable int m_running = 0;
    mutable int m_maxRunning = 0;
    mutable quint64 m_releases = 0;
    bool m_holding = false;
    int m_iconEdge = 0;
    QImage m_fallbackSymbol = defaultFallbackSymbol();
};
