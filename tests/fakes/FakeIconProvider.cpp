#include "FakeIconProvider.h"

#include <algorithm>
#include <QColor>
#include <QThread>

QImage FakeIconProvider::iconFor(const QString &path, int edge) {
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor::fromRgb(qHash(path) | 0xff000000u));
    return image;
}

QImage FakeIconProvider::defaultFallbackSymbol() {
    // Not the cache's icon size: the fallback keeps the size the platform gives it.
    QImage image(20, 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::darkGray);
    return image;
}

QImage FakeIconProvider::iconForFile(const QString &path, int size) const {
    begin(path);
    waitForRelease(path);
    end();
    QMutexLocker locker(&m_lock);
    return iconFor(path, m_iconEdge > 0 ? m_iconEdge : size);
}

QImage FakeIconProvider::symbolImage(const QString &name, int) const {
    QMutexLocker locker(&m_lock);
    m_threads.insert(QThread::currentThread());
    ++m_symbolRequests;
    return name == QLatin1String("app.fill") ? m_fallbackSymbol : QImage();
}

void FakeIconProvider::setIconEdge(int edge) {
    QMutexLocker locker(&m_lock);
    m_iconEdge = edge;
}

void FakeIconProvider::setFallbackSymbol(const QImage &image) {
    QMutexLocker locker(&m_lock);
    m_fallbackSymbol = image;
}

void FakeIconProvider::setHolding(bool holding) {
    QMutexLocker locker(&m_lock);
    m_holding = holding;
    if (!holding)
        m_released.wakeAll();
}

void FakeIconProvider::releaseWaiting() {
    QMutexLocker locker(&m_lock);
    ++m_releases;
    m_released.wakeAll();
}

QStringList FakeIconProvider::waitingPaths() const {
    QMutexLocker locker(&m_lock);
    return m_waiting;
}

QStringList FakeIconProvider::requestedPaths() const {
    // A const copy: callers may take begin() and end() from two calls, which then share one
    // buffer.
    QMutexLocker locker(&m_lock);
    return m_requested;
}

int FakeIconProvider::symbolRequestCount() const {
    QMutexLocker locker(&m_lock);
    return m_symbolRequests;
}

int FakeIconProvider::maxConcurrentLookups() const {
    QMutexLocker locker(&m_lock);
    return m_maxRunning;
}

bool FakeIconProvider::wasCalledOn(const QThread *thread) const {
    QMutexLocker locker(&m_lock);
    return m_threads.contains(thread);
}

void FakeIconProvider::begin(const QString &path) const {
    QMutexLocker locker(&m_lock);
    m_requested.append(path);
    m_threads.insert(QThread::currentThread());
    m_maxRunning = std::max(m_maxRunning, ++m_running);
}

void FakeIconProvider::waitForRelease(const QString &path) const {
    QMutexLocker locker(&m_lock);
    if (!m_holding)
        return;
    m_waiting.append(path);
    const quint64 arrival = m_releases;
    while (m_holding && m_releases == arrival)
        m_released.wait(&m_lock);
    m_waiting.removeOne(path);
}

void FakeIconProvider::end() const {
    QMutexLocker locker(&m_lock);
    --m_running;
}
