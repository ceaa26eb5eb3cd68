#include "IconCache.h"

#include "AppEnvironment.h"
#include "BackgroundTask.h"
#include "platform/IconProvider.h"

#include <QSet>
#include <QThreadPool>
#include <utility>

namespace {

const QString fallbackSymbol = QStringLiteral("app.fill");

// Rows draw every icon at one size; the platform may hand out another.
QImage atIconSize(const QImage &image) {
    const QSize size(IconCache::iconSize, IconCache::iconSize);
    if (image.isNull() || image.size() == size)
        return image;
    return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QStringList withoutEmptiesAndDuplicates(const QStringList &paths) {
    QSet<QString> seen;
    QStringList result;
    for (const QString &path : paths) {
        if (path.isEmpty() || seen.contains(path))
            continue;
        seen.insert(path);
        result.append(path);
    }
    return result;
}

} // namespace

IconCache::IconCache(const IconProvider &provider, QThreadPool &pool, QObject *parent)
    : QObject(parent), m_provider(provider), m_pool(pool) {}

IconCache &IconCache::shared() {
    static auto *cache = [] {
        const auto &environment = AppEnvironment::current();
        return new IconCache(*environment.icons, *environment.threadPool);
    }();
    return *cache;
}

QImage IconCache::cachedIcon(const std::optional<QString> &path) const {
    if (!path || path->isEmpty())
        return {};
    QMutexLocker locker(&m_lock);
    return m_icons.value(*path);
}

void IconCache::loadIcon(const std::optional<QString> &path,
                         const RunningApplicationPtr &runningApp, QObject *context,
                         Completion completion) {
    if (!path || path->isEmpty()) {
        const QImage own = runningApp ? runningApp->icon() : QImage();
        if (own.isNull())
            withFallbackImage(context, std::move(completion));
        else
            completion(atIconSize(own));
        return;
    }
    if (const QImage cached = cachedIcon(path); !cached.isNull()) {
        completion(cached);
        return;
    }
    // The icon is kept even when the asking row has gone: the next row for this path finds it.
    fetch(*path, [this, key = *path, guard = QPointer<QObject>(context),
                  completion = std::move(completion)](const QImage &icon) {
        store(key, icon);
        if (guard)
            completion(icon);
    });
}

void IconCache::prefetchIcons(const QStringList &paths) {
    {
        QMutexLocker locker(&m_lock);
        if (m_prefetchStarted)
            return;
        m_prefetchStarted = true;
    }
    m_prefetchPaths = withoutEmptiesAndDuplicates(paths);
    for (int i = 0; i < maxConcurrentPrefetches; ++i)
        prefetchNext();
}

// Starts the lookup of the next path not cached yet; each finished lookup starts the next one,
// so that at most maxConcurrentPrefetches run at once without a thread waiting for a turn.
void IconCache::prefetchNext() {
    while (m_prefetchPosition < m_prefetchPaths.size()) {
        const QString path = m_prefetchPaths.at(m_prefetchPosition++);
        if (!cachedIcon(path).isNull())
            continue;
        fetch(path, [this, path](const QImage &icon) {
            store(path, icon);
            prefetchNext();
        });
        return;
    }
}

void IconCache::fetch(const QString &path, Completion receiver) {
    const IconProvider *provider = &m_provider;
    BackgroundTask::run(
        m_pool, BackgroundTask::utility, this,
        [provider, path] { return atIconSize(provider->iconForFile(path, iconSize)); },
        std::move(receiver));
}

void IconCache::store(const QString &path, const QImage &image) {
    QMutexLocker locker(&m_lock);
    m_icons.insert(path, image);
}

// The fallback is made once, in the background like every lookup; loads that need it before
// it is there wait for it together.
void IconCache::withFallbackImage(QObject *context, Completion completion) {
    if (m_fallback) {
        completion(*m_fallback);
        return;
    }
    m_fallbackWaiters.append({context, std::move(completion)});
    if (m_fallbackWaiters.size() > 1)
        return;
    const IconProvider *provider = &m_provider;
    BackgroundTask::run(
        m_pool, BackgroundTask::utility, this,
        [provider] { return provider->symbolImage(fallbackSymbol, iconSize); },
        [this](const QImage &image) {
            m_fallback = image;
            for (const auto &[guard, waiting] : std::exchange(m_fallbackWaiters, {}))
                if (guard)
                    waiting(image);
        });
}
