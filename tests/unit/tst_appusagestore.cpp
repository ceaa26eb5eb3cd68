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

    void undecodableStoredDataStartsEmptyAndIsOverwritten_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        const QString counts = AppUsageStore::launchCountsKey;
        const QString dates = AppUsageStore::lastLaunchKey;
        QTest::newRow("dates not JSON") << dates << QVariant(QByteArray("{oops"));
        QTest::newRow("dates not numbers") << dates << QVariant(json({{"a", "yesterday"}}));
        QTest::newRow("counts not integers") << counts << QVariant(json({{"a", 1.5}}));
        QTest::newRow("counts as text, not bytes") << counts << QVariant(QString("{\"a\":3}"));
    }
    void undecodableStoredDataStartsEmptyAndIsOverwritten() {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        MemoryDefaultsStore defaults;
        defaults.values = {{AppUsageStore::launchCountsKey, json({{"a", 3}, {"b", 1}})},
                           {AppUsageStore::lastLaunchKey, json({{"a", 0}})}};
        defaults.values[key] = value;
        VirtualTime time;
        AppUsageStore store(defaults, time, std::nullopt);
        QVERIFY(key == AppUsageStore::launchCountsKey ? store.launchCounts().isEmpty()
                                                      : store.lastLaunch().isEmpty());
        store.recordLaunch("c");
        QCOMPARE(stored(defaults, key).keys(), QStringList{"c"});
    }
};

QTEST_GUILESS_MAIN(AppUsageStoreTest)
#include "tst_appusagestore.moc"
