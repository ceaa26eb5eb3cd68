#pragma once

#include "platform/RunningApplication.h"

#include <functional>
#include <optional>
#include <QHash>
#include <QImage>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QStringList>

class IconProvider;
class QThreadPool;

// The process-wide cache of application icons, keyed by the path of the application's bundle.
// Icons are fetched from the platform off the GUI thread, at most once per path and run.
class IconCache final : public QObject {
    Q_OBJECT
public:
    static constexpr int iconSize = 32;
    static constexpr int maxConcurrentPrefetches = 6;

    IconCache(const IconProvider &provider, QThreadPool &pool, QObject *parent = nullptr);
    static IconCache &shared();

    // The icon cached for the path, or a null image. Callable from any thread.
    QImage cachedIcon(const std::optional<QString> &path) const;
    // Finds an icon for the path (or the running application) and hands it to the completion
    // on the main thread: at once when it is at hand, else later unless the context has gone
    // by then. Always ends with an image.
    void loadIcon(const std::optional<QString> &path, const RunningApplicationPtr &runningApp,
                  QObject *context, std::function<void(const QImage &)> completion);
    // Fetches the icons of all paths in the background, once per run.
    void prefetchIcons(const QStringList &paths);

private:
    using Completion = std::function<void(const QImage &)>;

    void fetch(const QString &path, Completion receiver);
    void store(const QString &path, const QImage &image);
    void prefetchNext();
    void withFallbackImage(QObject *context, Completion completion);

    const IconProvider &m_provider;
    QThreadPool &m_pool;
    mutable QMutex m_lock;
    QHash<QString, QImage> m_icons;
    bool m_prefetchStarted = false;

    // Main thread only.
    QStringList m_prefetchPaths;
    qsizetype m_prefetchPosition = 0;
    std::optional<QImage> m_fallback;
    QList<std::pair<QPointer<QObject>, Completion>> m_fallbackWaiters;
};
