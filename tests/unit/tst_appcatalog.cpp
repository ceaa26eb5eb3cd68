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
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

namespace {

const QString applications = QStringLiteral("/Applications");
const QString utilities = QStringLiteral("/Applications/Utilities");
const QString homeApplications = QStringLiteral("/home/ada/Applications");
const QString systemApplications = QStringLiteral("/System/Applications");
const QString systemUtilities = QStringLiteral("/System/Applications/Utilities");

QList<ScanFolder> macFolders() {
    return {{applications, false},
            {utilities, false},
            {homeApplications, false},
            {systemApplications, true},
            {systemUtilities, true}};
}

BundleInfo bundle(const QString &id, std::optional<QString> displayName,
                  std::optional<QString> bundleName = std::nullopt) {
    return {id, std::move(displayName), std::move(bundleName)};
}

QStringList ids(const QList<AppCatalog::RawEntry> &entries) {
    QStringList result;
    for (const auto &entry : entries)
        result << entry.bundleID;
    return result;
}

const AppCatalog::RawEntry *find(const QList<AppCatalog::RawEntry> &entries, const QString &id) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto &entry) { return entry.bundleID == id; });
    return found == entries.end() ? nullptr : &*found;
}

} // namespace

class AppCatalogTest : public QObject {
    Q_OBJECT

private slots:
    void earlierFoldersWinAndSystemFlagsFollowFolderOrVendor() {
        FakeApplicationBundles bundles(macFolders());
        bundles.addEntry(applications, "Pages.app", bundle("com.example.pages", "Pages"));
        bundles.addEntry(systemApplications, "Pages.app", bundle("com.example.pages", "Old Pages"));
        bundles.addEntry(applications, "Notes.app", bundle("com.apple.Notes", "Notes"));
        bundles.addEntry(systemApplications, "Vendor.app", bundle("com.vendor.tool", "Vendor"));
        bundles.addEntry(homeApplications, "Mine.app", bundle("org.me.mine", "Mine"));
        const auto entries = AppCatalog::scanInstalledApps(bundles);

        QCOMPARE(entries.size(), 4);
        QCOMPARE(find(entries, "com.example.pages")->name, "Pages");
        QCOMPARE(find(entries, "com.example.pages")->path, "/Applications/Pages.app");
        QCOMPARE(find(entries, "com.example.pages")->isSystem, false);
        QCOMPARE(find(entries, "com.apple.Notes")->isSystem, true);
        QCOMPARE(find(entries, "com.vendor.tool")->isSystem, true);
        QCOMPARE(find(entries, "org.me.mine")->isSystem, false);
    }

    void namesComeFromTheBundleOrItsEntryName_data() {
        QTest::addColumn<QString>("entryName");
        QTest::addColumn<std::optional<QString>>("displayName");
        QTest::addColumn<std::optional<QString>>("bundleName");
        QTest::addColumn<QString>("name");
        using Text = std::optional<QString>;
        QTest::newRow("display name first") << "X.app" << Text("Shown") << Text("Short") << "Shown";
        QTest::newRow("then the short name") << "X.app" << Text() << Text("Short") << "Short";
        QTest::newRow("an empty display name stays empty")
            << "X.app" << Text("") << Text("S") << "";
        QTest::newRow("every suffix removed")
            << "a.application.app" << Text() << Text() << "alication";
    }
    void namesComeFromTheBundleOrItsEntryName() {
        QFETCH(QString, entryName);
        QFETCH(std::optional<QString>, displayName);
        QFETCH(std::optional<QString>, bundleName);
        QFETCH(QString, name);
        FakeApplicationBundles bundles(macFolders());
        bundles.addEntry(applications, entryName, bundle("id", displayName, bundleName));
        const auto entries = AppCatalog::scanInstalledApps(bundles);
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries.first().name, name);
    }

    void onlyReadableBundlesWithIdentifiersAreListed() {
        FakeApplicationBundles bundles({{"/unreadable", false}, {applications, false}});
        bundles.addEntry(applications, "Upper.APP", bundle("upper", "Upper"));
        bundles.addEntry(applications, ".Hidden.app", bundle("hidden", "Hidden"));
        bundles.addEntry(applications, "Broken.app", std::nullopt);
        bundles.addEntry(applications, "Anonymous.app", bundle("", "Anonymous"));
        bundles.addEntry(applications, "notes.txt", bundle("text", "Text"));
        QCOMPARE(ids(AppCatalog::scanInstalledApps(bundles)), QStringList{"hidden"});
    }

    void anEntryThatIsNotOfferedStillClaimsItsIdentifier() {
        FakeApplicationBundles bundles(
            {{"/home/ada/.local/share/applications", false}, {"/usr/share/applications", true}},
            ".desktop");
        BundleInfo userOverride = bundle("org.gnome.Calculator", "Calculator");
        userOverride.isOffered = false;
        bundles.addEntry("/home/ada/.local/share/applications", "org.gnome.Calculator.desktop",
                         userOverride);
        bundles.addEntry("/usr/share/applications", "org.gnome.Calculator.desktop",
                         bundle("org.gnome.Calculator", "Calculator"));
        BundleInfo settings = bundle("org.gnome.Settings", "Settings");
        settings.isUtility = true;
        bundles.addEntry("/usr/share/applications", "org.gnome.Settings.desktop", settings);
        const auto entries = AppCatalog::scanInstalledApps(bundles);
        QCOMPARE(ids(entries), QStringList{"org.gnome.Settings"});
        QVERIFY(entries.first().isUtility);
    }

    void sortedByNameKeepingScanOrderOfEqualNames() {
        FakeApplicationBundles bundles(macFolders());
        bundles.addEntry(applications, "1.app", bundle("second-zeta", "Zeta"));
        bundles.addEntry(applications, "2.app", bundle("alpha", "alpha"));
        bundles.addEntry(applications, "3.app", bundle("first-beta", "Beta"));
        bundles.addEntry(applications, "4.app", bundle("second-beta", "Beta"));
        bundles.addEntry(utilities, "5.app", bundle("third-beta", "Beta"));
        bundles.addEntry(applications, "6.app", bundle("eclair", "Éclair"));
        QCOMPARE(ids(AppCatalog::scanInstalledApps(bundles)),
                 (QStringList{"alpha", "first-beta", "second-beta", "third-beta", "eclair",
                              "second-zeta"}));
    }

    void loadsOncePublishesAndPrefetchesIcons() {
        FakeApplicationBundles bundles(macFolders());
        bundles.setMainBundleIdentifier("org.example.Quellory-dev");
        bundles.addEntry(applications, "B.app", bundle("com.example.b", "B"));
        bundles.addEntry(applications, "A.app", bundle("com.example.a", "A"));
        bundles.addEntry(applications, "Self.app", bundle("org.example.Quellory-dev", "Self"));
        bundles.addEntry(applications, "Built.app",
                         bundle(AppCatalog::builtInBundleIdentifier, "Q"));
        bundles.addEntry(systemApplications, "Finder.app", bundle("com.apple.finder", "Finder"));
        bundles.addEntry(systemApplications, "Dock.app", bundle("com.apple.dock", "Dock"));
        FakeIconProvider icons;
        QThreadPool pool;
        IconCache cache(icons, pool);
        AppCatalog catalog(bundles, cache, pool);
        QVERIFY(catalog.isLoading() && !catalog.hasStartedLoading() && catalog.apps().isEmpty());

        QSignalSpy started(&catalog, &AppCatalog::hasStartedLoadingChanged);
        QSignalSpy apps(&catalog, &AppCatalog::appsChanged);
        QSignalSpy byID(&catalog, &AppCatalog::byIDChanged);
        QSignalSpy loading(&catalog, &AppCatalog::isLoadingChanged);
        catalog.loadIfNeeded();
        catalog.loadIfNeeded();
        QVERIFY(catalog.hasStartedLoading());
        QTRY_VERIFY(!catalog.isLoading());
        catalog.loadIfNeeded();
        QTest::qWait(20);

        QCOMPARE(bundles.openCount(), 6);
        QCOMPARE(started.count(), 1);
        QCOMPARE(apps.count(), 1);
        QCOMPARE(byID.count(), 1);
        QCOMPARE(loading.count(), 1);
        const QList<AppEntry> expected{{"com.example.a", "A", "/Applications/A.app", false},
                                       {"com.example.b", "B", "/Applications/B.app", false}};
        QCOMPARE(catalog.apps(), expected);
        QCOMPARE(catalog.byID().size(), 2);
        QCOMPARE(catalog.entry("com.example.b"), expected[1]);
        QCOMPARE(catalog.entry("com.apple.finder"), std::nullopt);
        QTRY_COMPARE(icons.requestedPaths().size(), 2);
        QStringList requested = icons.requestedPaths();
        requested.sort();
        QCOMPARE(requested, (QStringList{"/Applications/A.app", "/Applications/B.app"}));
    }

    void appPathPrefersTheCatalogThenThePlatform() {
        FakeApplicationBundles bundles(macFolders());
        bundles.addEntry(applications, "A.app", bundle("com.example.a", "A"));
        bundles.setInstalledPath("com.example.a", "/elsewhere/A.app");
        bundles.setInstalledPath("com.example.helper", "/Library/Helper.app");
        FakeIconProvider icons;
        QThreadPool pool;
        IconCache cache(icons, pool);
        AppCatalog catalog(bundles, cache, pool);
        QCOMPARE(catalog.appPath("com.example.a"), "/elsewhere/A.app");
        catalog.loadIfNeeded();
        QTRY_VERIFY(!catalog.isLoading());
        QCOMPARE(catalog.appPath("com.example.a"), "/Applications/A.app");
        QCOMPARE(catalog.appPath("com.example.helper"), "/Library/Helper.app");
        QCOMPARE(catalog.appPath("com.example.unknown"), std::nullopt);
    }

    void rankingPutsUtilitiesLastThenScoreSystemAndName_data() {
        QTest::addColumn<AppEntry>("first");
        QTest::addColumn<AppEntry>("second");
        const AppEntry often{"often", "Zed", "/Applications/Zed.app", false};
        const AppEntry never{"never", "Ant", "/Applications/Ant.app", false};
        const AppEntry console{"com.apple.Console", "Console", "/Applications/Console.app", true};
        const AppEntry systemApp{"sys", "Aardvark", "/System/Applications/A.app", true};
        const AppEntry lower{"lower", "banana", "/Applications/banana.app", false};
        const AppEntry upper{"upper", "Cherry", "/Applications/Cherry.app", false};
        QTest::newRow("higher score first") << often << never;
        QTest::newRow("a used utility after an unused application") << never << console;
        QTest::newRow("non-system before system") << never << systemApp;
        QTest::newRow("names without regard to case") << lower << upper;
        QTest::newRow("Terminal in /Applications/Utilities is ordinary")
            << AppEntry{"com.apple.Terminal", "Terminal", "/Applications/Utilities/Terminal.app",
                        true}
            << AppEntry{"com.example.util", "Util", "/Applications/Utilities/Util.app", false};
        QTest::newRow("Terminal in the system Utilities is a utility")
            << never
            << AppEntry{"com.apple.Terminal", "Terminal",
                        "/System/Applications/Utilities/Terminal.app", true};
        QTest::newRow("Font Book is a utility outside the Utilities folders")
            << systemApp
            << AppEntry{"com.apple.FontBook", "Font Book", "/System/Applications/Font Book.app",
                        true};
        QTest::newRow("a desktop's settings entry is a utility")
            << never
            << AppEntry{"org.gnome.Settings", "Settings", "/usr/share/applications/x.desktop",
                        true};
    }
    void rankingPutsUtilitiesLastThenScoreSystemAndName() {
        QFETCH(AppEntry, first);
        QFETCH(AppEntry, second);
        MemoryDefaultsStore defaults;
        const QJsonObject counts{
            {"often", 5}, {"com.apple.Console", 40}, {"org.gnome.Settings", 9}};
        defaults.preset(AppUsageStore::launchCountsKey, QJsonDocument(counts).toJson());
        VirtualTime time;
        AppUsageStore usage(defaults, time, std::nullopt);
        const QSet<QString> platformUtilities{"org.gnome.Settings"};
        QVERIFY(AppCatalog::rankedBefore(first, second, usage, platformUtilities));
        QVERIFY(!AppCatalog::rankedBefore(second, first, usage, platformUtilities));
        QVERIFY(!AppCatalog::rankedBefore(first, first, usage, platformUtilities));
    }
};

QTEST_GUILESS_MAIN(AppCatalogTest)
#include "tst_appcatalog.moc"
