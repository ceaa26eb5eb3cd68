#include "fakes/VirtualTime.h"
#include "models/AppUsageStore.h"
#include "platform/linux/SettingsFileDefaultsStore.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class SettingsFileDefaultsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void valuesSurviveIntoTheNextRun() {
        QTemporaryDir dir;
        const QString path = dir.filePath("Quellory.conf");
        {
            SettingsFileDefaultsStore store(path);
            QCOMPARE(store.data("appUsage.launchCounts"), std::nullopt);
            QVERIFY(!store.object("showMenuBarIcon").isValid());
            store.setData(QByteArray("{\"a\":1}\n\0binary", 16), "appUsage.launchCounts");
            store.setBool(false, "showMenuBarIcon");
            store.setBool(true, "other");
        }
        SettingsFileDefaultsStore nextRun(path);
        QCOMPARE(nextRun.data("appUsage.launchCounts"), QByteArray("{\"a\":1}\n\0binary", 16));
        QCOMPARE(nextRun.object("showMenuBarIcon"), QVariant(false));
        QCOMPARE(nextRun.object("other"), QVariant(true));
        QCOMPARE(nextRun.data("showMenuBarIcon"), std::nullopt); // a Boolean is no byte string
    }

    void writesReachTheDiskAtOnce() {
        QTemporaryDir dir;
        const QString path = dir.filePath("Quellory.conf");
        SettingsFileDefaultsStore store(path);
        store.setBool(true, "showMenuBarIcon");
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("showMenuBarIcon=true"));
    }

    void theUsersFileLivesInTheProgramsConfigFolder() {
        SettingsFileDefaultsStore store;
        store.setBool(true, "showMenuBarIcon");
        const QString expected =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            "/app.quellory.Quellory/Quellory.conf";
        QVERIFY2(QFile::exists(expected), qPrintable(expected));
    }

    void usageWrittenByOneRunIsReadByTheNext() {
        QTemporaryDir dir;
        const QString path = dir.filePath("Quellory.conf");
        VirtualTime time;
        QHash<QString, double> scores;
        {
            SettingsFileDefaultsStore defaults(path);
            AppUsageStore usage(defaults, time, std::nullopt);
            usage.seedRunningApps({"debian-xterm", "org.xfce.mousepad"});
            usage.recordLaunch("org.xfce.mousepad");
            scores = usage.scores();
        }
        SettingsFileDefaultsStore defaults(path);
        AppUsageStore nextRun(defaults, time, std::nullopt);
        QCOMPARE(nextRun.launchCounts(),
                 (QHash<QString, qint64>{{"debian-xterm", 1}, {"org.xfce.mousepad", 2}}));
        QCOMPARE(nextRun.lastLaunch().value("org.xfce.mousepad"), time.now());
        QCOMPARE(nextRun.scores(), scores);
    }

    void undecodableUsageStartsEmptyAndIsOverwritten() {
        QTemporaryDir dir;
        const QString path = dir.filePath("Quellory.conf");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[General]\nappUsage.launchCounts=@ByteArray(not json)\n"
                   "appUsage.lastLaunch=garbage\n");
        file.close();

        VirtualTime time;
        SettingsFileDefaultsStore defaults(path);
        AppUsageStore usage(defaults, time, std::nullopt);
        QVERIFY(usage.launchCounts().isEmpty());
        QVERIFY(usage.lastLaunch().isEmpty());
        usage.recordLaunch("debian-xterm");

        SettingsFileDefaultsStore nextDefaults(path);
        AppUsageStore nextRun(nextDefaults, time, std::nullopt);
        QCOMPARE(nextRun.launchCounts(), (QHash<QString, qint64>{{"debian-xterm", 1}}));
        QCOMPARE(nextRun.lastLaunch().size(), 1);
    }
};

QTEST_GUILESS_MAIN(SettingsFileDefaultsStoreTest)
#include "tst_settingsfiledefaultsstore.moc"
