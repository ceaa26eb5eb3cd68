#include "fakes/MemoryDefaultsStore.h"
#include "fakes/VirtualTime.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimeZone>

namespace {

// Stored times count seconds from the start of 2001.
const QDateTime year2001(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());

QByteArray json(const QJsonObject &object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject stored(const MemoryDefaultsStore &defaults, const QString &key) {
    return QJsonDocument::fromJson(defaults.data(key).value_or(QByteArray())).object();
}

} // namespace

class AppUsageStoreTest : public QObject {
    Q_OBJECT

private slots:
    void seedsRunningAppsOnceThenCountsLaunches() {
        MemoryDefaultsStore defaults;
        VirtualTime time;
        AppUsageStore store(defaults, time, QString("org.example.Renamed"));
        const QStringList excluded{"", "com.apple.finder", AppCatalog::builtInBundleIdentifier};
        for (const QString &id : excluded + QStringList{"org.example.Renamed"})
            store.recordLaunch(id);
        QVERIFY(defaults.values.isEmpty());

        store.seedRunningApps(excluded + QStringList{"debian-xterm", "mousepad", "mousepad"});
        time.advance(60);
        store.seedRunningApps({"mousepad", "tint2"});
        QCOMPARE(store.launchCounts(),
                 (QHash<QString, qint64>{{"debian-xterm", 1}, {"mousepad", 1}, {"tint2", 1}}));
        QCOMPARE(store.lastLaunch().value("mousepad"), time.now().addSecs(-3660));

        store.recordLaunch("mousepad");
        QCOMPARE(store.score("mousepad"), 14.0);
        QCOMPARE(stored(defaults, AppUsageStore::launchCountsKey).value("mousepad"), 2);
        QCOMPARE(stored(defaults, AppUsageStore::lastLaunchKey).value("mousepad"),
                 year2001.msecsTo(time.now()) / 1000.0);
    }

    void scoresRewardFrequentAndRecentLaunches_data() {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<double>("daysAgo");
        QTest::addColumn<QString>("score");
        QTest::newRow("one launch just now") << qint64(1) << 0.0 << "12.0000";
        QTest::newRow("one launch an hour ago") << qint64(1) << 1 / 24.0 << "11.9703";
        QTest::newRow("five, the last 14 days ago") << qint64(5) << 14.0 << "13.6788";
        QTest::newRow("twenty, the last 30 days ago") << qint64(20) << 30.0 << "41.1732";
        QTest::newRow("a launch in the future counts as now") << qint64(3) << -5.0 << "16.0000";
    }
    void scoresRewardFrequentAndRecentLaunches() {
        QFETCH(qint64, count);
        QFETCH(double, daysAgo);
        QFETCH(QString, score);
        VirtualTime time;
        MemoryDefaultsStore defaults;
        const double last = year2001.msecsTo(time.now()) / 1000.0 - daysAgo * 86400.0;
        defaults.values = {{AppUsageStore::launchCountsKey, json({{"app", count}})},
                           {AppUsageStore::lastLaunchKey, json({{"app", last}})}};
        const AppUsageStore store(defaults, time, std::nullopt);
        QCOMPARE(QString::number(store.score("app"), 'f', 4), score);
    }

    void storedDataKeepsEveryEntryThatDecodes_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QStringList>("kept");
        const QString counts = AppUsageStore::launchCountsKey;
        const QString dates = AppUsageStore::lastLaunchKey;
        QTest::newRow("dates not JSON") << dates << QVariant(QByteArray("{oops")) << QStringList{};
        QTest::newRow("one date not a number")
            << dates << QVariant(json({{"a", "yesterday"}, {"b", 5}})) << QStringList{"b"};
        QTest::newRow("one count not an integer")
            << counts << QVariant(json({{"a", 1.5}, {"b", 1}})) << QStringList{"b"};
        QTest::newRow("counts as text, not bytes")
            << counts << QVariant(QString("{\"a\":3}")) << QStringList{};
    }
    void storedDataKeepsEveryEntryThatDecodes() {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(QStringList, kept);
        MemoryDefaultsStore defaults;
        defaults.values = {{AppUsageStore::launchCountsKey, json({{"a", 3}, {"b", 1}})},
                           {AppUsageStore::lastLaunchKey, json({{"a", 0}, {"b", 1}})}};
        defaults.values[key] = value;
        VirtualTime time;
        AppUsageStore store(defaults, time, std::nullopt);
        const auto keys = [&] {
            QStringList ids = key == AppUsageStore::launchCountsKey ? store.launchCounts().keys()
                                                                    : store.lastLaunch().keys();
            ids.sort();
            return ids;
        };
        QCOMPARE(keys(), kept);
        store.recordLaunch("c");
        QCOMPARE(stored(defaults, key).keys(), kept + QStringList{"c"});
    }

    void keepsOnlyTheIdentifiersLaunchedLast() {
        const qsizetype maximum = AppUsageStore::maximumIdentifiers;
        VirtualTime time;
        const double now = year2001.msecsTo(time.now()) / 1000.0;
        // More than the store keeps, the first launched last, and a time without a count.
        QJsonObject counts, dates{{"no count", now}};
        for (qsizetype i = 0; i < maximum + 10; ++i) {
            counts.insert(QString::number(i), 1);
            dates.insert(QString::number(i), now - double(i));
        }
        MemoryDefaultsStore defaults;
        defaults.values = {{AppUsageStore::launchCountsKey, json(counts)},
                           {AppUsageStore::lastLaunchKey, json(dates)}};
        AppUsageStore store(defaults, time, std::nullopt);
        QCOMPARE(store.launchCounts().size(), maximum);
        QCOMPARE(store.lastLaunch().size(), maximum);
        QVERIFY(store.launchCounts().contains(QString::number(maximum - 1)));
        QVERIFY(!store.launchCounts().contains(QString::number(maximum)));

        time.advance(1);
        store.recordLaunch("new");
        QCOMPARE(stored(defaults, AppUsageStore::launchCountsKey).size(), maximum);
        QCOMPARE(stored(defaults, AppUsageStore::lastLaunchKey).size(), maximum);
        QVERIFY(store.launchCounts().contains("new"));
        QVERIFY(store.launchCounts().contains("0"));
        QVERIFY(!store.launchCounts().contains(QString::number(maximum - 1)));
    }
};

QTEST_GUILESS_MAIN(AppUsageStoreTest)
#include "tst_appusagestore.moc"
