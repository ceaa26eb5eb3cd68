#include "fakes/FakeWorkspace.h"
#include "fakes/MemoryDefaultsStore.h"
#include "fakes/VirtualTime.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/WindowMonitor.h"

#include <QSignalSpy>
#include <QTest>

namespace {

using Policy = RunningApplication::ActivationPolicy;

// Handles written as "identifier pid" with an optional policy ("accessory", "prohibited") and
// "-" for no identifier. The same text is the same handle.
class Handles {
public:
    QList<RunningApplicationPtr> operator()(const QStringList &specs) {
        QList<RunningApplicationPtr> handles;
        for (const QString &spec : specs) {
            if (!m_made.contains(spec)) {
                const QStringList parts = spec.split(' ');
                const Policy policy = parts.value(2) == "accessory"    ? Policy::Accessory
                                      : parts.value(2) == "prohibited" ? Policy::Prohibited
                                                                       : Policy::Regular;
                m_made.insert(spec, FakeRunningApplication::make(
                                        parts[0] == "-" ? std::nullopt : std::optional(parts[0]),
                                        parts[1].toInt(), policy));
            }
            handles.append(m_made.value(spec));
        }
        return handles;
    }

private:
    QHash<QString, RunningApplicationPtr> m_made;
};

struct Fixture {
    VirtualTime time;
    MemoryDefaultsStore defaults;
    AppUsageStore usage{defaults, time, std::nullopt};
    FakeWorkspace workspace;
    WindowMonitor monitor{workspace, usage, time};
    QSignalSpy changes{&monitor, &WindowMonitor::runningAppsChanged};
    Handles handles;

    // Identifiers whose last launch is now: recorded launches, not seeded ones.
    QStringList launchedNow() const {
        QStringList ids;
        for (auto it = usage.lastLaunch().cbegin(); it != usage.lastLaunch().cend(); ++it)
            if (it.value() == time.now())
                ids.append(it.key());
        return ids;
    }
};

} // namespace

class WindowMonitorTest : public QObject {
    Q_OBJECT

private slots:
    void refreshReplacesTheListOnlyWhenProcessesCameOrWent_data() {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QStringList>("listed"); // the handles listed after the refresh
        const QString editor = "org.example.Editor 100", mail = "org.example.Mail 200";
        const QString self = AppCatalog::builtInBundleIdentifier + " 50";
        const auto row = [](const char *name, const QStringList &before, const QStringList &after,
                            const QStringList &listed) {
            QTest::newRow(name) << before << after << listed;
        };
        row("nothing came or went", {editor, mail}, {editor, mail}, {editor, mail});
        row("same processes in another order", {editor, mail}, {mail, editor}, {editor, mail});
        row("relaunched with a new process", {editor, mail}, {"org.example.Editor 101", mail},
            {"org.example.Editor 101", mail});
        row("one ended", {editor, mail}, {mail}, {mail});
        row("all ended", {editor, mail}, {}, {});
        row("only helpers, agents and entries without a process appear", {editor, mail},
            {editor, mail, "org.example.Tray 300 accessory", "org.example.Agent 400 prohibited",
             "org.example.Ghost 0", "org.example.Gone -1"},
            {editor, mail});
        row("this program, system components and apps without an identifier are listed", {},
            {self, "com.apple.finder 60", "- 70", "org.example.Ghost 0"},
            {self, "com.apple.finder 60", "- 70"});
    }
    void refreshReplacesTheListOnlyWhenProcessesCameOrWent() {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        QFETCH(QStringList, listed);
        Fixture f;
        f.workspace.applications = f.handles(before);
        f.monitor.refresh();
        f.time.runPending();
        const qsizetype changesBefore = f.changes.size();

        f.workspace.applications = f.handles(after);
        f.monitor.refresh();

        QCOMPARE(f.monitor.runningApps(), f.handles(listed));
        const int isChanged = listed != before ? 1 : 0;
        QCOMPARE(f.changes.size(), changesBefore + isChanged);
        QCOMPARE(f.time.pendingCount(), isChanged); // the seeding
    }

    void regularLaunchRecordsOnceThenSeedsEveryListedApp() {
        Fixture f;
        f.workspace.applications =
            f.handles({"org.example.Mail 200", "- 300", "org.example.Tray 400 accessory"});
        f.monitor.startObserving();
        const auto editor = FakeRunningApplication::make("org.example.Editor", 100);

        f.workspace.launch(editor);

        QCOMPARE(f.monitor.runningApps(), f.handles({"org.example.Mail 200", "- 300"}) +
                                              QList<RunningApplicationPtr>{editor});
        QCOMPARE(f.changes.size(), 1);
        QVERIFY(f.usage.launchCounts().isEmpty()); // not inside the handler
        f.time.runPending();
        // Seeding after the launch was recorded leaves the launch as it is.
        QCOMPARE(f.usage.launchCounts(),
                 (QHash<QString, qint64>{{"org.example.Editor", 1}, {"org.example.Mail", 1}}));
        QCOMPARE(f.launchedNow(), QStringList{"org.example.Editor"});

        f.workspace.end(editor);
        QCOMPARE(f.monitor.runningApps(), f.handles({"org.example.Mail 200", "- 300"}));
        QCOMPARE(f.changes.size(), 2);
        f.time.runPending();
        QCOMPARE(f.usage.launchCounts().value("org.example.Editor"), 1);
    }

    // Every start of the program finds what already runs: that is seeded, never launched, even
    // from a workspace that posts its first read as launches. What starts later is a launch.
    void whatRanBeforeTheStartIsSeededNotLaunched() {
        Fixture f;
        f.workspace.applications = f.handles({"org.example.Mail 200", "org.example.Editor 100"});
        const QHash<QString, qint64> seeded{{"org.example.Mail", 1}, {"org.example.Editor", 1}};
        for (int start = 0; start < 2; ++start) {
            WindowMonitor monitor(f.workspace, f.usage, f.time);
            monitor.startObserving();
            f.workspace.announceRunning();
            f.time.runPending();
            QCOMPARE(f.usage.launchCounts(), seeded);
            QCOMPARE(f.launchedNow(), QStringList());
        }

        WindowMonitor monitor(f.workspace, f.usage, f.time);
        monitor.startObserving();
        f.workspace.end(std::static_pointer_cast<FakeRunningApplication>(
            f.handles({"org.example.Editor 100"})[0]));
        f.workspace.launch(FakeRunningApplication::make("org.example.Editor", 101));
        f.time.runPending();
        QCOMPARE(f.usage.launchCounts().value("org.example.Editor"), 2);
        QCOMPARE(f.usage.launchCounts().value("org.example.Mail"), 1);
    }

    void aProcessLaunchesOnceWhateverItsWindowsDo() {
        Fixture f;
        f.monitor.startObserving();
        const auto editor = FakeRunningApplication::make("org.example.Editor", 100);
        f.workspace.launch(editor);
        // Its last window closed and another opened, or its window manager was replaced: the
        // workspace posts the same process's handle again.
        for (int round = 0; round < 3; ++round) {
            f.workspace.applications.removeAll(editor);
            emit f.workspace.didTerminateApplication(editor);
            f.time.advance(60);
            f.workspace.launch(editor);
        }
        f.time.runPending();
        QCOMPARE(f.usage.launchCounts().value("org.example.Editor"), 1);

        // The process ended and a new one got its pid.
        f.workspace.end(editor);
        f.workspace.launch(FakeRunningApplication::make("org.example.Editor", 100));
        f.time.runPending();
        QCOMPARE(f.usage.launchCounts().value("org.example.Editor"), 2);
    }

    void launchesOfNoOrdinaryAppRecordNothing_data() {
        QTest::addColumn<QString>("launched");
        QTest::addColumn<bool>("isPosted"); // the notification carries the handle
        QTest::addColumn<bool>("isListed");
        QTest::newRow("a tray helper") << "org.example.Tray 300 accessory" << true << false;
        QTest::newRow("a background agent") << "org.example.Agent 300 prohibited" << true << false;
        QTest::newRow("an app without an identifier") << "- 300" << true << true;
        QTest::newRow("a notification without a handle still refreshes")
            << "org.example.Editor 300" << false << true;
    }
    void launchesOfNoOrdinaryAppRecordNothing() {
        QFETCH(QString, launched);
        QFETCH(bool, isPosted);
        QFETCH(bool, isListed);
        Fixture f;
        const auto mail = f.handles({"org.example.Mail 200"});
        f.workspace.applications = mail;
        f.monitor.refresh();
        f.monitor.startObserving();
        const auto handle = f.handles({launched})[0];

        f.workspace.applications.append(handle);
        emit f.workspace.didLaunchApplication(isPosted ? handle : nullptr);
        f.time.runPending();

        QCOMPARE(f.monitor.runningApps(), isListed ? mail + QList{handle} : mail);
        QCOMPARE(f.changes.size(), isListed ? 2 : 1);
        QCOMPARE(f.launchedNow(), QStringList());
    }

    void timerRefreshesEveryFiveSecondsWhileTheMonitorLives() {
        Fixture f;
        auto monitor = std::make_unique<WindowMonitor>(f.workspace, f.usage, f.time);
        monitor->startRefreshTimer();

        f.workspace.applications = f.handles({"org.example.Editor 100"});
        f.time.advance(4.999);
        QVERIFY(monitor->runningApps().isEmpty());
        f.time.advance(0.001);
        QCOMPARE(monitor->runningApps(), f.handles({"org.example.Editor 100"}));
        f.workspace.applications.clear();
        f.time.advance(5);
        QVERIFY(monitor->runningApps().isEmpty());

        monitor.reset();
        f.workspace.applications = f.handles({"org.example.Mail 200"});
        f.time.advance(10);
        QVERIFY(!f.usage.launchCounts().contains("org.example.Mail"));
    }
};

QTEST_GUILESS_MAIN(WindowMonitorTest)
#include "tst_windowmonitor.moc"
