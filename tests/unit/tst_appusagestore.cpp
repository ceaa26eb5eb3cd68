#include "fakes/MemoryDefaultsStore.h"
#include "fakes/VirtualTime.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

namespace {

const QDateTime year2001(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());

double secondsSince2001(const QDateTime &time) {
    return double(year2001.msecsTo(time)) / 1000.0;
}

QByteArray json(const QJsonObject &object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject storedObject(const MemoryDefaultsStore &defaults, const QString &key) {
    return QJsonDocument::fromJson(defaults.data(key).value_or(QByteArray())).object();
}

double rounded(double score) {
    return std::round(score * 10000.0) / 10000.0;
}

} // namespace

class AppUsageStoreTest : public QObject {
    Q_OBJECT

private slots:
    void firstRunSeedsRunningAppsOnce() {
        MemoryDefaultsStore defaults;
        VirtualTime time;
        AppUsageStore store(defaults, time, AppCatalog::builtInBundleIdentifier);
        QVERIFY(store.launchCounts().isEmpty() && store.scores().isEmpty());
        QCOMPARE(defaults.writeCount(), 0);

        store.seedRunningApps({"org.xfce.mousepad", "", "com.apple.finder", "debian-xterm",
                               AppCatalog::builtInBundleIdentifier, "org.xfce.mousepad"});
        QCOMPARE(store.launchCounts(),
                 (QHash<QString, qint64>{{"org.xfce.mousepad", 1}, {"debian-xterm", 1}}));
        QCOMPARE(store.lastLaunch().value("debian-xterm"), time.now().addSecs(-3600));
        QCOMPARE(rounded(store.score("debian-xterm")), 11.9703);
        QCOMPARE(defaults.writeCount(), 2);
        QCOMPARE(storedObject(defaults, AppUsageStore::launchCountsKey).value("debian-xterm"), 1);

        QSignalSpy scores(&store, &AppUsageStore::scoresChanged);
        QSignalSpy counts(&store, &AppUsageStore::launchCountsChanged);
        time.advance(60);
        store.seedRunningApps({"org.xfce.mousepad", "debian-xterm"});
        store.seedRunningApps({});
        QCOMPARE(defaults.writeCount(), 2);
        QCOMPARE(scores.count(), 0);
        QCOMPARE(counts.count(), 0);
    }

    void recordingALaunchCountsAndDatesIt() {
        MemoryDefaultsStore defaults;
        VirtualTime time;
        AppUsageStore store(defaults, time, std::nullopt);
        store.seedRunningApps({"org.xfce.mousepad"});
        store.recordLaunch("org.xfce.mousepad");
        QCOMPARE(store.launchCounts().value("org.xfce.mousepad"), 2);
        QCOMPARE(store.lastLaunch().value("org.xfce.mousepad"), time.now());
        QCOMPARE(rounded(store.score("org.xfce.mousepad")), 14.0);
        QCOMPARE(storedObject(defaults, AppUsageStore::lastLaunchKey).value("org.xfce.mousepad"),
                 secondsSince2001(time.now()));
    }

    void launchesOfProtectedIdentifiersAreIgnored_data() {
        QTest::addColumn<std::optional<QString>>("mainBundleIdentifier");
        QTest::addColumn<QString>("bundleID");
        QTest::newRow("empty") << std::optional<QString>() << QString();
        QTest::newRow("excluded") << std::optional<QString>() << QString("com.apple.finder");
        QTest::newRow("built-in own identifier")
            << std::optional<QString>() << AppCatalog::builtInBundleIdentifier;
        QTest::newRow("installed own identifier")
            << std::optional<QString>("org.example.Renamed") << QString("org.example.Renamed");
    }
    void launchesOfProtectedIdentifiersAreIgnored() {
        QFETCH(std::optional<QString>, mainBundleIdentifier);
        QFETCH(QString, bundleID);
        MemoryDefaultsStore defaults;
        VirtualTime time;
        AppUsageStore store(defaults, time, mainBundleIdentifier);
        QSignalSpy counts(&store, &AppUsageStore::launchCountsChanged);
        store.recordLaunch(bundleID);
        QVERIFY(store.launchCounts().isEmpty());
        QCOMPARE(counts.count(), 0);
        QCOMPARE(defaults.writeCount(), 0);
    }

    void scoresRewardFrequentAndRecentLaunches_data() {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<double>("secondsAgo");
        QTest::addColumn<double>("score");
        QTest::newRow("one launch just now") << qint64(1) << 0.0 << 12.0;
        QTest::newRow("one launch an hour ago") << qint64(1) << 3600.0 << 11.9703;
        QTest::newRow("five, the last 14 days ago") << qint64(5) << 14 * 86400.0 << 13.6788;
        QTest::newRow("twenty, the last 30 days ago") << qint64(20) << 30 * 86400.0 << 41.1732;
        QTest::newRow("a launch in the future") << qint64(3) << -5 * 86400.0 << 16.0;
    }
    void scoresRewardFrequentAndRecentLaunches() {
        QFETCH(qint64, count);
        QFETCH(double, secondsAgo);
        QFETCH(double, score);
        VirtualTime time;
        MemoryDefaultsStore defaults;
        defaults.preset(AppUsageStore::launchCountsKey, json({{"app", count}}));
        defaults.preset(AppUsageStore::lastLaunchKey,
                        json({{"app", secondsSince2001(time.now()) - secondsAgo}}));
        AppUsageStore store(defaults, time, std::nullopt);
        QCOMPARE(rounded(store.score("app")), score);
        QCOMPARE(store.score("never-launched"), 0.0);
        QCOMPARE(defaults.writeCount(), 0);
    }

    void undecodableStoredDataStartsEmptyAndIsOverwritten_data() {
        QTest::addColumn<QVariant>("counts");
        QTest::addColumn<QVariant>("lastLaunch");
        QTest::addColumn<int>("loadedCounts");
        QTest::addColumn<int>("loadedDates");
        const QVariant goodCounts = json({{"a", 3}, {"b", 1}});
        const QVariant goodDates = json({{"a", 784512345.678}});
        QTest::newRow("dates not JSON") << goodCounts << QVariant(QByteArray("{oops")) << 2 << 0;
        QTest::newRow("counts not integers") << QVariant(json({{"a", 1.5}})) << goodDates << 0 << 1;
        QTest::newRow("counts an array") << QVariant(QByteArray("[1,2]")) << goodDates << 0 << 1;
        QTest::newRow("dates not numbers")
            << goodCounts << QVariant(json({{"a", "yesterday"}})) << 2 << 0;
        QTest::newRow("counts stored as text, not bytes")
            << QVariant(goodCounts.toString()) << goodDates << 0 << 1;
    }
    void undecodableStoredDataStartsEmptyAndIsOverwritten() {
        QFETCH(QVariant, counts);
        QFETCH(QVariant, lastLaunch);
        QFETCH(int, loadedCounts);
        QFETCH(int, loadedDates);
        MemoryDefaultsStore defaults;
        defaults.preset(AppUsageStore::launchCountsKey, counts);
        defaults.preset(AppUsageStore::lastLaunchKey, lastLaunch);
        VirtualTime time;
        AppUsageStore store(defaults, time, std::nullopt);
        QCOMPARE(store.launchCounts().size(), loadedCounts);
        QCOMPARE(store.lastLaunch().size(), loadedDates);
        if (loadedDates == 0 && loadedCounts > 0)
            QCOMPARE(store.score("a"), 6.0); // no recency term without a last launch

        store.recordLaunch("c");
        const QJsonObject written = storedObject(defaults, AppUsageStore::launchCountsKey);
        QCOMPARE(written.size(), loadedCounts + 1);
        QCOMPARE(storedObject(defaults, AppUsageStore::lastLaunchKey).size(), loadedDates + 1);
    }

    void storedTimesCountFromTheStartOf2001() {
        MemoryDefaultsStore defaults;
        defaults.preset(AppUsageStore::launchCountsKey, json({{"a", 12}}));
        defaults.preset(AppUsageStore::lastLaunchKey, json({{"a", 0}, {"b", 784512345.678}}));
        VirtualTime time;
        AppUsageStore store(defaults, time, std::nullopt);
        QCOMPARE(store.lastLaunch().value("a"), year2001);
        QCOMPARE(store.lastLaunch().value("b"), year2001.addMSecs(784512345678));
        QCOMPARE(store.lastLaunch().value("b").date(), QDate(2025, 11, 11));

        store.recordLaunch("c");
        AppUsageStore nextRun(defaults, time, std::nullopt);
        QCOMPARE(nextRun.launchCounts(), store.launchCounts());
        QCOMPARE(nextRun.lastLaunch(), store.lastLaunch());
        QCOMPARE(nextRun.scores(), store.scores());
    }
};

QTEST_GUILESS_MAIN(AppUsageStoreTest)
#include "tst_appusagestore.moc"
