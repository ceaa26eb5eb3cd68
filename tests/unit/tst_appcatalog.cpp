#include "fakes/FakeApplicationBundles.h"
#include "fakes/FakeIconProvider.h"
#include "fakes/MemoryDefaultsStore.h"
#include "fakes/VirtualTime.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/IconCache.h"

#include <algorithm>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QThreadPool>

class AppCatalogTest : public QObject {
    Q_OBJECT

private slots:
    void scanKeepsTheFirstCopyOfEachIdentifierSortedByName() {
        FakeApplicationBundles bundles;
        bundles.folders = {{"/unreadable", false}, {"/Applications", false}, {"/System", true}};
        // Names from each source; entries that do not open, have no identifier or are not
        // offered; copies of one identifier in both folders; names that sort alike.
        const QList<std::tuple<QString, QString, std::optional<BundleInfo>>> entries{
            {"/Applications", "Pages.app", BundleInfo{"pages", "Pages", {}}},
            {"/Applications", "Short.app", BundleInfo{"short", {}, "Short name"}},
            {"/Applications", "Bare.app", BundleInfo{"bare", {}, {}}},
            {"/Applications", "Empty.app", BundleInfo{"empty", "", "Not used"}},
            {"/Applications", "Broken.app", std::nullopt},
            {"/Applications", "Anonymous.app", BundleInfo{"", "Anonymous", {}}},
            {"/Applications", "Calc.app", BundleInfo{"calc", "Calculator", {}, false}},
            {"/Applications", "alpha.app", BundleInfo{"alpha", "alpha", {}}},
            {"/Applications", "Beta.app", BundleInfo{"first-beta", "Beta", {}}},
            {"/Applications", "Eclair.app", BundleInfo{"eclair", "Éclair", {}}},
            {"/System", "Settings.app", BundleInfo{"settings", "Settings", {}, true, true}},
            {"/System", "Pages.app", BundleInfo{"pages", "Old Pages", {}}},
            {"/System", "Calc.app", BundleInfo{"calc", "Calculator", {}}},
            {"/System", "Beta.app", BundleInfo{"second-beta", "Beta", {}}}};
        for (const auto &[folder, name, info] : entries)
            bundles.add(folder, name, info);

        QStringList scanned;
        for (const auto &entry : AppCatalog::scanInstalledApps(bundles))
            scanned << entry.bundleID + ' ' + entry.name + (entry.isSystem ? " system" : "") +
                           (entry.isUtility ? " utility" : "");
        QCOMPARE(scanned, (QStringList{"empty ", "alpha alpha", "bare Bare", "first-beta Beta",
                                       "second-beta Beta system", "eclair Éclair", "pages Pages",
                                       "settings Settings system utility", "short Short name"}));
    }

    void loadsOnceLeavingOutExcludedAppsAndPrefetchesIcons() {
        FakeApplicationBundles bundles;
        bundles.folders = {{"/apps", false}};
        bundles.mainID = "org.example.Quellory-dev";
        bundles.add("/apps", "B.app", BundleInfo{"com.example.b", "B", {}});
        bundles.add("/apps", "A.app", BundleInfo{"com.example.a", "A", {}});
        bundles.add("/apps", "Self.app", BundleInfo{"org.example.Quellory-dev", "Self", {}});
        bundles.add("/apps", "Q.app", BundleInfo{AppCatalog::builtInBundleIdentifier, "Q", {}});
        bundles.add("/apps", "Finder.app", BundleInfo{"com.apple.finder", "Finder", {}});
        bundles.installedPaths = {{"com.example.a", "/elsewhere/A.app"},
                                  {"com.example.helper", "/opt/Helper.app"}};
        FakeIconProvider icons;
        QThreadPool pool;
        IconCache cache(icons, pool);
        AppCatalog catalog(bundles, cache, pool);

        catalog.loadIfNeeded();
        catalog.loadIfNeeded();
        QTRY_VERIFY(!catalog.isLoading());
        catalog.loadIfNeeded();
        QTest::qWait(20);

        QCOMPARE(bundles.openCount, 5);
        const QList<AppEntry> expected{{"com.example.a", "A", "/apps/A.app", false},
                                       {"com.example.b", "B", "/apps/B.app", false}};
        QCOMPARE(catalog.apps(), expected);
        QCOMPARE(catalog.entry("com.example.b"), expected[1]);
        // A catalogued path wins over the platform's, which serves the rest.
        QCOMPARE(catalog.appPath("com.example.a"), "/apps/A.app");
        QCOMPARE(catalog.appPath("com.example.helper"), "/opt/Helper.app");
        QCOMPARE(catalog.appPath("com.example.unknown"), std::nullopt);
        QTRY_COMPARE(icons.record().requested.size(), 2);
        QStringList requested = icons.record().requested;
        requested.sort();
        QCOMPARE(requested, (QStringList{"/apps/A.app", "/apps/B.app"}));
    }

    void rankingPutsUtilitiesLastThenScoreSystemAndName() {
        MemoryDefaultsStore defaults;
        defaults.values.insert(AppUsageStore::launchCountsKey,
                               QJsonDocument(QJsonObject{{"often", 5}, {"settings", 40}}).toJson());
        VirtualTime time;
        const AppUsageStore usage(defaults, time, std::nullopt);
        // The used application, the others by name without regard to case, then the system's,
        // then the utilities of the platform and of the system's Utilities, used or not.
        const QList<AppEntry> ranked{
            {"often", "Zed", "/Applications/Zed.app", false},
            {"b", "banana", "/b", false},
            {"c", "Cherry", "/c", false},
            {"sys", "Aardvark", "/System/Applications/A.app", true},
            {"settings", "Settings", "/usr/share/s.desktop", true},
            {"util", "Util", "/System/Applications/Utilities/U.app", false}};
        QList<AppEntry> sorted(ranked.rbegin(), ranked.rend());
        AppCatalog::sortByRank(sorted, usage, {"settings"});
        QCOMPARE(sorted, ranked);
        for (qsizetype i = 1; i < ranked.size(); ++i) {
            QVERIFY(AppCatalog::rankedBefore(ranked[i - 1], ranked[i], usage, {"settings"}));
            QVERIFY(!AppCatalog::rankedBefore(ranked[i], ranked[i - 1], usage, {"settings"}));
        }
        QVERIFY(!AppCatalog::rankedBefore(ranked[0], ranked[0], usage, {"settings"}));
    }
};

QTEST_GUILESS_MAIN(AppCatalogTest)
#include "tst_appcatalog.moc"
