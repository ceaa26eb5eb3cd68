#pragma once

#include "platform/IconProvider.h"

#include <algorithm>
#include <QColor>
#include <QCoreApplication>
#include <QMutex>
#include <QStringList>
#include <QThread>
#include <QWaitCondition>

// A simulated icon service. It records the calls and whether any ran on the GUI thread, counts the
// lookups that run at once, and can hold lookups until the test lets them go.
class FakeIconProvider final : public IconProvider {
public:
    struct Record {
        QStringList requested; // in the order of the calls, duplicates included
        int symbolRequests = 0;
        int running = 0;
        int maxRunning = 0;
        bool onGuiThread = false; // whether any call ran there
    };

    // The image of "app.fill", null where the platform has no such symbol. Set before use.
    QImage fallback;

    // The icon of a path: a colour of its own, at a size other than the cache's.
    static QImage iconFor(const QString &path) {
        QImage image(48, 48, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor::fromRgb(qHash(path) | 0xff000000u));
        return image;
    }

    QImage iconForFile(const QString &path, int) const override {
        QMutexLocker locker(&m_lock);
        m_record.requested.append(path);
        m_record.onGuiThread |= QThread::currentThread() == qApp->thread();
        m_record.maxRunning = std::max(m_record.maxRunning, ++m_record.running);
        for (const quint64 arrival = m_releases; m_holding && m_releases == arrival;)
            m_released.wait(&m_lock);
        --m_record.running;
        return iconFor(path);
    }
    QImage symbolImage(const QString &name, int) const override {
        QMutexLocker locker(&m_lock);
        m_record.onGuiThread |= QThread::currentThread() == qApp->thread();
        ++m_record.symbolRequests;
        return name == QLatin1String("app.fill") ? fallback : QImage();
    }

    // Lets the lookups that wait now go; while holding, the ones that come later wait for the
    // next call.
    void hold(bool holding) {
        QMutexLocker locker(&m_lock);
        m_holding = holding;
        ++m_releases;
        m_released.wakeAll();
    }
    Record record() const {
        QMutexLocker locker(&m_lock);
        return m_record;
    }

private:
    mutable QMutex m_lock;
    mutable QWaitCondition m_released;
    mutable Record m_record;
    quint64 m_releases = 0;
    bool m_holding = false;
};
