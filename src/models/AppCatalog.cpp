#include "AppCatalog.h"

#include "AppEnvironment.h"
#include "AppUsageStore.h"
#include "BackgroundTask.h"
#include "IconCache.h"
#include "platform/ApplicationBundles.h"
#include "PositionSort.h"
#include "UserCollation.h"

#include <algorithm>
#include <functional>
#include <QThreadPool>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

const QString applePrefix = QStringLiteral("com.apple.");

// A plain hash of the UTF-16 text. For the short identifiers that the scan hashes, one per
// installed application, Qt's own string hash measured several times slower.
struct IdentifierHash {
    size_t operator()(QStringView id) const noexcept {
        return std::hash<std::u16string_view>()(std::u16string_view(id.utf16(), size_t(id.size())));
    }
};

// Takes the name out of the bundle.
QString nameOf(const FolderEntry &entry, BundleInfo &bundle, const QString &suffix) {
    if (bundle.displayName)
        return std::move(*bundle.displayName);
    if (bundle.bundleName)
        return std::move(*bundle.bundleName);
    return QString(entry.name).remove(suffix);
}

// Sorts by the user's locale, keeping the scan order of names that compare equal. For a
// catalog's worth of names, comparing them directly costs less than making an ICU sort key for
// each.
void sortByName(QList<AppCatalog::RawEntry> &entries) {
    const QCollator collator = UserCollation::caseSensitive();
    const AppCatalog::RawEntry *const unsorted = entries.constData();
    PositionSort::sort(entries, [&](qsizetype a, qsizetype b) {
        return collator.compare(unsorted[a].name, unsorted[b].name) < 0;
    });
}

} // namespace

AppCatalog::AppCatalog(const ApplicationBundles &bundles, IconCache &icons, QThreadPool &pool,
                       QObject *parent)
    : QObject(parent), m_bundles(bundles), m_icons(icons), m_pool(pool) {}

AppCatalog &AppCatalog::shared() {
    static auto *catalog = [] {
        const auto &environment = AppEnvironment::current();
        return new AppCatalog(*environment.bundles, IconCache::shared(), *environment.threadPool);
    }();
    return *catalog;
}

const QSet<QString> &AppCatalog::excludedBundleIDs() {
    static const QSet<QString> ids{
        QStringLiteral("com.apple.finder"),
        QStringLiteral("com.apple.dock"),
        QStringLiteral("com.apple.loginwindow"),
        QStringLiteral("com.apple.SystemUIServer"),
        QStringLiteral("com.apple.WindowManager"),
        QStringLiteral("com.apple.notificationcenterui"),
        QStringLiteral("com.apple.coreservices.uiagent"),
        QStringLiteral("com.apple.commerce"),
        builtInBundleIdentifier,
        QStringLiteral("com.anthropic.claude-code-url-handler"),
    };
    return ids;
}

QString AppCatalog::ownBundleIdentifier(const ApplicationBundles &bundles) {
    return bundles.mainBundleIdentifier().value_or(builtInBundleIdentifier);
}

QList<AppCatalog::RawEntry> AppCatalog::scanInstalledApps(const ApplicationBundles &bundles) {
    const QString suffix = bundles.bundleSuffix();
    // Views of the identifiers met so far. Their texts live on in the result, or in hidden for
    // bundles that are not offered: moving a QString leaves its text where it is.
    std::unordered_set<QStringView, IdentifierHash> seen;
    QList<QString> hidden;
    QList<RawEntry> result;
    for (const ScanFolder &folder : bundles.scanFolders()) {
        auto entries = bundles.contentsOfFolder(folder.path);
        if (!entries)
            continue;
        seen.reserve(seen.size() + entries->size());
        result.reserve(result.size() + entries->size());
        for (FolderEntry &listed : *entries) {
            // Taken out of the list so that what is not kept is freed while still in the cache,
            // not all together with the list.
            FolderEntry entry = std::move(listed);
            if (!entry.name.endsWith(suffix))
                continue;
            auto bundle = bundles.openBundle(entry);
            if (!bundle || bundle->bundleIdentifier.isEmpty() ||
                !seen.insert(bundle->bundleIdentifier).second)
                continue;
            if (!bundle->isOffered) {
                hidden.append(std::move(bundle->bundleIdentifier));
                continue;
            }
            const bool isSystem =
                folder.isSystem || bundle->bundleIdentifier.startsWith(applePrefix);
            result.append({nameOf(entry, *bundle, suffix), std::move(bundle->bundleIdentifier),
                           std::move(entry.path), isSystem, bundle->isUtility});
        }
    }
    sortByName(result);
    return result;
}

void AppCatalog::loadIfNeeded() {
    if (m_hasStartedLoading)
        return;
    m_hasStartedLoading = true;
    emit hasStartedLoadingChanged();
    const ApplicationBundles *bundles = &m_bundles;
    BackgroundTask::run(
        m_pool, BackgroundTask::userInitiated, this,
        [bundles] { return scanInstalledApps(*bundles); },
        [this](const QList<RawEntry> &entries) { publish(entries); });
}

void AppCatalog::publish(const QList<RawEntry> &rawEntries) {
    const QString own = ownBundleIdentifier(m_bundles);
    QList<AppEntry> apps;
    QHash<QString, AppEntry> byID;
    QSet<QString> utilityIDs;
    apps.reserve(rawEntries.size());
    byID.reserve(rawEntries.size());
    for (const RawEntry &raw : rawEntries) {
        if (raw.bundleID == own || excludedBundleIDs().contains(raw.bundleID))
            continue;
        AppEntry entry{raw.bundleID, raw.name, raw.path, raw.isSystem};
        apps.append(entry);
        byID.insert(entry.id, entry);
        if (raw.isUtility)
            utilityIDs.insert(entry.id);
    }
    m_utilityIDs = std::move(utilityIDs);
    if (byID != m_byID) {
        m_byID = std::move(byID);
        emit byIDChanged();
    }
    if (apps != m_apps) {
        m_apps = apps;
        emit appsChanged();
    }
    if (m_isLoading) {
        m_isLoading = false;
        emit isLoadingChanged();
    }
    QStringList paths;
    paths.reserve(m_apps.size());
    for (const AppEntry &entry : std::as_const(m_apps))
        paths.append(entry.path);
    m_icons.prefetchIcons(paths);
}

std::optional<AppEntry> AppCatalog::entry(const QString &bundleID) const {
    const auto found = m_byID.constFind(bundleID);
    if (found == m_byID.cend())
        return std::nullopt;
    return *found;
}

std::optional<QString> AppCatalog::appPath(const QString &bundleID) const {
    if (const auto found = entry(bundleID))
        return found->path;
    return m_bundles.pathForBundleIdentifier(bundleID);
}

const QSet<QString> &AppCatalog::appleUtilityBundleIDs() {
    static const QSet<QString> ids{
        QStringLiteral("com.apple.ActivityMonitor"),
        QStringLiteral("com.apple.Automator"),
        QStringLiteral("com.apple.BluetoothFileExchange"),
        QStringLiteral("com.apple.ColorSyncUtility"),
        QStringLiteral("com.apple.Console"),
        QStringLiteral("com.apple.DigitalColorMeter"),
        QStringLiteral("com.apple.DiskUtility"),
        QStringLiteral("com.apple.FontBook"),
        QStringLiteral("com.apple.grapher"),
        QStringLiteral("com.apple.KeychainAccess"),
        QStringLiteral("com.apple.MigrateAssistant"),
        QStringLiteral("com.apple.SystemProfiler"),
        QStringLiteral("com.apple.VoiceOverUtility"),
        QStringLiteral("com.apple.airport.airportutility"),
        QStringLiteral("com.apple.audio.AudioMIDISetup"),
        QStringLiteral("com.apple.bootcampassistant"),
        QStringLiteral("com.apple.DirectoryUtility"),
        QStringLiteral("com.apple.FolderActionsSetup"),
        QStringLiteral("com.apple.Image_Capture"),
        QStringLiteral("com.apple.ImageCapture"),
        QStringLiteral("com.apple.ScriptEditor2"),
        QStringLiteral("com.apple.Ticket-Viewer"),
        QStringLiteral("com.apple.WirelessDiagnostics"),
        QStringLiteral("com.apple.ScreenSharing"),
        QStringLiteral("com.apple.screensharing"),
        QStringLiteral("com.apple.PrintKit.PrinterTool"),
        QStringLiteral("com.apple.BluetoothSetupAssistant"),
        QStringLiteral("com.apple.CaptiveNetworkAssistant"),
        QStringLiteral("com.apple.CertificateAssistant"),
        QStringLiteral("com.apple.ExpansionSlotUtility"),
        QStringLiteral("com.apple.OSDUIHelper"),
        QStringLiteral("com.apple.ProblemReporter"),
        QStringLiteral("com.apple.RAIDUtility"),
        QStringLiteral("com.apple.SystemUIServer"),
    };
    return ids;
}

bool AppCatalog::isUtilityApp(const AppEntry &entry, const QSet<QString> &utilityIDs) {
    if (entry.path.startsWith(QLatin1String("/System/Applications/Utilities/")))
        return true;
    if (entry.path.startsWith(QLatin1String("/Applications/Utilities/")))
        return entry.id != QLatin1String("com.apple.Terminal");
    return appleUtilityBundleIDs().contains(entry.id) || utilityIDs.contains(entry.id);
}

AppCatalog::RankFacts AppCatalog::rankFacts(const AppEntry &entry, const AppUsageStore &usage,
                                            const QSet<QString> &utilityIDs) {
    return {isUtilityApp(entry, utilityIDs), usage.score(entry.id)};
}

bool AppCatalog::rankedBefore(const AppEntry &a, const AppEntry &b, const AppUsageStore &usage,
                              const QSet<QString> &utilityIDs) {
    return rankedBefore(a, rankFacts(a, usage, utilityIDs), b, rankFacts(b, usage, utilityIDs));
}

bool AppCatalog::rankedBefore(const AppEntry &a, const RankFacts &aFacts, const AppEntry &b,
                              const RankFacts &bFacts) {
    if (aFacts.isUtility != bFacts.isUtility)
        return !aFacts.isUtility;
    if (aFacts.score != bFacts.score)
        return aFacts.score > bFacts.score;
    if (a.isSystem != b.isSystem)
        return !a.isSystem;
    static const QCollator caseInsensitive = UserCollation::caseInsensitive();
    return caseInsensitive.compare(a.name, b.name) < 0;
}

void AppCatalog::sortByRank(QList<AppEntry> &apps, const AppUsageStore &usage,
                            const QSet<QString> &utilityIDs) {
    // The facts once per entry: asked at every comparison, they cost most of the sort.
    std::vector<RankFacts> facts;
    facts.reserve(size_t(apps.size()));
    for (const AppEntry &entry : std::as_const(apps))
        facts.push_back(rankFacts(entry, usage, utilityIDs));
    const AppEntry *const unsorted = apps.constData();
    PositionSort::sort(apps, [&](qsizetype a, qsizetype b) {
        return rankedBefore(unsorted[a], facts[size_t(a)], unsorted[b], facts[size_t(b)]);
    });
}
