#include "fakes/VirtualTime.h"
#include "fakes/WriteFile.h"
#include "models/AppUsageStore.h"
#include "platform/linux/freedesktop/SettingsFileDefaultsStore.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

class SettingsFileDefaultsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void whatARunWritesReachesTheUsersFileAtOnceAndTheNextRun() {
        QStandardPaths::setTestModeEnabled(true); // never the developer's own file
        QFile file(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                   "/app.quellory.Quellory/Quellory.conf");
        QVERIFY(writeFile(file.fileName(), "[General]\nappUsage.launchCounts=@ByteArray(not json)\n"
                                           "appUsage.lastLaunch=garbage\n"));
        VirtualTime time;
        QHash<QString, double> scores;
        {
            SettingsFileDefaultsStore defaults;
            AppUsageStore usage(defaults, time, std::nullopt);
            QVERIFY(usage.launchCounts().isEmpty() && usage.lastLaunch().isEmpty());
            usage.seedRunningApps({"debian-xterm", "org.xfce.mousepad"});
            usage.recordLaunch("org.xfce.mousepad");
            scores = usage.scores();
            defaults.setBool(false, "flag");
            QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll().contains("flag=false"));
        }
        SettingsFileDefaultsStore nextDefaults;
        const AppUsageStore nextRun(nextDefaults, time, std::nullopt);
        QCOMPARE(nextRun.launchCounts(),
                 (QHash<QString, qint64>{{"debian-xterm", 1}, {"org.xfce.mousepad", 2}}));
        QCOMPARE(nextRun.lastLaunch().value("org.xfce.mousepad"), time.now());
        QCOMPARE(nextRun.scores(), scores);
        QCOMPARE(nextDefaults.object("flag"), QVariant(false));
    }
};

QTEST_GUILESS_MAIN(SettingsFileDefaultsStoreTest)
#include "tst_settingsfiledefaultsstore.moc"
