#include "AppsListSections.h"

#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/UserCollation.h"
#include "models/WindowMonitor.h"

#include <algorithm>

AppsListSections::AppsListSections(const WindowMonitor &monitor, const AppCatalog &catalog,
                                   const AppUsageStore &usage, const ApplicationBundles &bundles)
    : m_monitor(monitor), m_catalog(catalog), m_usage(usage), m_bundles(bundles),
      m_nameOrder(UserCollation::caseInsensitive()) {}

QList<RunningApplicationPtr> AppsListSections::visibleRunningApps() const {
    const QString own = AppCatalog::ownBundleIdentifier(m_bundles);
    // Names are read once: a handle may ask the platform each time.
    QList<std::pair<QString, RunningApplicationPtr>> named;
    for (const RunningApplicationPtr &app : m_monitor.runningApps()) {
        const std::optional<QString> id = app->bundleIdentifier();
        if (!id || *id == own || AppCatalog::excludedBundleIDs().contains(*id))
            continue;
        named.append({app->localizedName().value_or(QString()), app});
    }
    std::stable_sort(named.begin(), named.end(), [this](const auto &a, const auto &b) {
        return m_nameOrder.compare(a.first, b.first) < 0;
    });
    QList<RunningApplicationPtr> apps;
    apps.reserve(named.size());
    for (const auto &[name, app] : std::as_const(named))
        apps.append(app);
    return apps;
}

QSet<QString>
AppsListSections::runningBundleIDs(const QList<RunningApplicationPtr> &visibleRunningApps) {
    QSet<QString> ids;
    for (const RunningApplicationPtr &app : visibleRunningApps)
        ids.insert(app->bundleIdentifier().value_or(QString()));
    return ids;
}

ListItem AppsListSections::makeRunningItem(const RunningApplicationPtr &app) const {
    ListItem item;
    item.id = app->bundleIdentifier().value_or(QString());
    item.name = app->localizedName().value_or(item.id);
    item.iconPath = m_catalog.appPath(item.id);
    if (!item.iconPath)
        item.iconPath = app->bundlePath();
    item.kind = ListItem::Kind::quit;
    item.runningApp = app;
    return item;
}

QList<ListItem>
AppsListSections::runningItems(const QList<RunningApplicationPtr> &visibleRunningApps) const {
    QList<ListItem> items;
    items.reserve(visibleRunningApps.size());
    for (const RunningApplicationPtr &app : visibleRunningApps)
        items.append(makeRunningItem(app));
    return items;
}

QList<ListItem> AppsListSections::installedItems(const QSet<QString> &excluding) const {
    QList<ListItem> items;
    items.reserve(m_catalog.apps().size());
    for (const AppEntry &entry : rankedApps()) {
        if (excluding.contains(entry.id))
            continue;
        items.append({.id = entry.id,
                      .name = entry.name,
                      .iconPath = entry.path,
                      .kind = ListItem::Kind::open,
                      .runningApp = nullptr,
                      .openURL = entry.path});
    }
    return items;
}

const QList<AppEntry> &AppsListSections::rankedApps() const {
    if (!m_isRanked) {
        m_rankedApps = m_catalog.apps();
        AppCatalog::sortByRank(m_rankedApps, m_usage, m_catalog.utilityIDs());
        m_isRanked = true;
    }
    return m_rankedApps;
}
