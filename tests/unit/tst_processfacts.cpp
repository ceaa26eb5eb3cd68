#include "platform/linux/ProcessFacts.h"

#include <QCoreApplication>
#include <QTest>
#include <unistd.h>

class ProcessFactsTest : public QObject {
    Q_OBJECT

private slots:
    void readsTheDesktopsUnitNames_data() {
        QTest::addColumn<QByteArray>("cgroup");
        QTest::addColumn<QString>("id");
        const QByteArray slice = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
        QTest::newRow("scope with a launcher")
            << slice + "app-gnome-org.gnome.Terminal-4242.scope\n"
            << "org.gnome.Terminal";
        QTest::newRow("scope without a launcher") << slice + "app-firefox-1234.scope\n"
                                                  << "firefox";
        QTest::newRow("service with an instance")
            << slice + "app-kde-org.kde.dolphin@a1b2.service\n"
            << "org.kde.dolphin";
        QTest::newRow("escaped dashes in the id")
            << slice + "app-gnome-gnome\\x2dsystem\\x2dmonitor-77.scope\n"
            << "gnome-system-monitor";
        QTest::newRow("not an application unit")
            << QByteArray("0::/user.slice/user-1000.slice/session-2.scope\n") << QString();
        QTest::newRow("nothing") << QByteArray() << QString();
    }
    void readsTheDesktopsUnitNames() {
        QFETCH(QByteArray, cgroup);
        QFETCH(QString, id);
        QCOMPARE(ProcessFacts::idOfCgroup(cgroup).value_or(QString()), id);
    }

    void readsSandboxIds() {
        QCOMPARE(ProcessFacts::idOfFlatpakInfo("[Application]\nname=org.gimp.GIMP\nruntime=x\n"),
                 QString("org.gimp.GIMP"));
        QCOMPARE(ProcessFacts::idOfFlatpakInfo("[Instance]\nname=wrong\n"), std::nullopt);
        QCOMPARE(ProcessFacts::idOfFlatpakInfo("not a key file ["), std::nullopt);
        QCOMPARE(ProcessFacts::idOfSecurityLabel("snap.firefox.firefox (enforce)"),
                 QString("firefox_firefox"));
        QCOMPARE(ProcessFacts::idOfSecurityLabel("unconfined"), std::nullopt);
        QCOMPARE(ProcessFacts::idOfSecurityLabel("snap.broken (enforce)"), std::nullopt);
    }

    void believesALaunchRecordOnlyForTheLaunchedProcess() {
        const QByteArray environment =
            QByteArrayList{"HOME=/home/a",
                           "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/xterm.desktop",
                           "GIO_LAUNCHED_DESKTOP_FILE_PID=4242", ""}
                .join('\0');
        QCOMPARE(ProcessFacts::launchedDesktopFileOf(environment, 4242),
                 QString("/usr/share/applications/xterm.desktop"));
        // The shell inside the terminal inherits the variables.
        QCOMPARE(ProcessFacts::launchedDesktopFileOf(environment, 4243), std::nullopt);
        QCOMPARE(ProcessFacts::launchedDesktopFileOf("PATH=/bin", 4242), std::nullopt);
    }

    void namesTheProgramWithoutItsFolder() {
        QCOMPARE(ProcessFacts::programOf(QByteArrayList{"/usr/bin/xterm", "-e", "sh"}.join('\0')),
                 "xterm");
        QCOMPARE(ProcessFacts::programOf("mousepad"), "mousepad");
        QCOMPARE(ProcessFacts::programOf(QByteArray()), QString());
    }

    void readsThisProcess() {
        const ProcessFacts facts = ProcessFacts::of(qint32(getpid()));
        QCOMPARE(facts.program, QCoreApplication::applicationFilePath().section('/', -1));
        QVERIFY(ProcessFacts::isRunning(qint32(getpid())));
        QVERIFY(!ProcessFacts::isRunning(-1));
    }
};

QTEST_GUILESS_MAIN(ProcessFactsTest)
#include "tst_processfacts.moc"
