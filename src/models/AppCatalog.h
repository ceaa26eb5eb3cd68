#pragma once

#include "AppEntry.h"

#include <optional>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

class ApplicationBundles;
class AppUsageStore;
class IconCache;
class QThreadPool;

// The installed applications, read once per run in the background and published on the main
// thread as a name-sorted list and an index by bundle identifier.
class AppCatalog final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<AppEntry> apps READ apps NOTIFY appsChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool hasStartedLoading READ hasStartedLoading NOTIFY hasStartedLoadingChanged)
public:
    // What the scan finds of one application.
    struct RawEntry {
        QString name;
        QString bundleID;
        QString path;
        bool isSystem = false;
        bool isUtility = false; // the platform files it among the system's utilities
    };

    // The identifier this program is built with; also its desktop file ID.
    static inline const QString builtInBundleIdentifier = QStringLiteral("app.quellory.Quellory");

    AppCatalog(const ApplicationBundles &bundles, IconCache &icons, QThreadPool &pool,
               QObject *parent = nullptr);
    static AppCatalog &shared();

    // System components and the program itself: never listed, counted or quit.
    static const QSet<QString> &excludedBundleIDs();
    // The program's own identifier as installed, else the one it is built with.
    static QString ownBundleIdentifier(const ApplicationBundles &bundles);

    // Reads the installed applications; safe off the main thread. Sorted by name.
    static QList<RawEntry> scanInstalledApps(const ApplicationBundles &bundles);
    // Starts the one background scan of the run; later calls do nothing.
    void loadIfNeeded();

    const QList<AppEntry> &apps() const { return m_apps; }
    bool isLoading() const { return m_isLoading; }
    bool hasStartedLoading() const { return m_hasStartedLoading; }
    const QHash<QString, AppEntry> &byID() const { return m_byID; }
    // Identifiers of published entries that the platform files among its utilities.
    const QSet<QString> &utilityIDs() const { return m_utilityIDs; }

    std::optional<AppEntry> entry(const QString &bundleID) const;
    // The catalogued path, else where the platform says the application is installed.
    std::optional<QString> appPath(const QString &bundleID) const;

    // The order of installed applications: non-utilities first, then by usage score, then
    // non-system first, then by name.
    static bool rankedBefore(const AppEntry &a, const AppEntry &b, const AppUsageStore &usage,
                             const QSet<QString> &utilityIDs = {});
    // Puts the list in that order, keeping the order of entries that rank alike.
    static void sortByRank(QList<AppEntry> &apps, const AppUsageStore &usage,
                           const QSet<QString> &utilityIDs);
    static bool isUtilityApp(const AppEntry &entry, const QSet<QString> &utilityIDs = {});
    // macOS's own utilities outside its Utilities folders.
    static const QSet<QString> &appleUtilityBundleIDs();

signals:
    void appsChanged();
    void isLoadingChanged();
    void hasStartedLoadingChanged();
    void byIDChanged();

private:
    // What the order asks of one entry beyond the entry itself.
    struct RankFacts {
        bool isUtility = false;
        double score = 0;
    };
    static RankFacts rankFacts(const AppEntry &entry, const AppUsageStore &usage,
                               const QSet<QString> &utilityIDs);
    static bool rankedBefore(const AppEntry &a, const RankFacts &aFacts, const AppEntry &b,
                             const RankFacts &bFacts);

    void publish(const QList<RawEntry> &rawEntries);

    const ApplicationBundles &m_bundles;
    IconCache &m_icons;
    QThreadPool &m_pool;
    QList<AppEntry> m_apps;
    bool m_isLoading = true;
    bool m_hasStartedLoading = false;
    QHash<QString, AppEntry> m_byID;
    QSet<QString> m_utilityIDs;
};
