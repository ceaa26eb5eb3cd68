#pragma once

#include "ListItem.h"
#include "models/AppEntry.h"

#include <QCollator>
#include <QList>
#include <QSet>

class AppCatalog;
class ApplicationBundles;
class AppUsageStore;
class WindowMonitor;

// What goes into the list's two sections and in which order: the running applications a user may
// quit, sorted by name, and the installed ones that do not run, ranked by use. Searching is the
// list filter's business; these are the sections before any search.
class AppsListSections {
public:
    AppsListSections(const WindowMonitor &monitor, const AppCatalog &catalog,
                     const AppUsageStore &usage, const ApplicationBundles &bundles);

    // The running applications the list offers: with an identifier, neither this program nor a
    // system component; by name under the user's locale, ignoring case, the workspace's order
    // kept between equal names.
    QList<RunningApplicationPtr> visibleRunningApps() const;
    static QSet<QString> runningBundleIDs(const QList<RunningApplicationPtr> &visibleRunningApps);

    ListItem makeRunningItem(const RunningApplicationPtr &app) const;
    QList<ListItem> runningItems(const QList<RunningApplicationPtr> &visibleRunningApps) const;
    // The catalog's applications, ranked, without those that run.
    QList<ListItem> installedItems(const QSet<QString> &excluding) const;

    // The catalog's entries or the usage scores changed: the next installedItems ranks anew.
    void invalidateRanking() { m_isRanked = false; }

private:
    const QList<AppEntry> &rankedApps() const;

    const WindowMonitor &m_monitor;
    const AppCatalog &m_catalog;
    const AppUsageStore &m_usage;
    const ApplicationBundles &m_bundles;
    QCollator m_nameOrder;
    // Ranking a thousand entries takes milliseconds; the order changes only with the catalog or
    // the scores, not with every application that starts or ends.
    mutable QList<AppEntry> m_rankedApps;
    mutable bool m_isRanked = false;
};
