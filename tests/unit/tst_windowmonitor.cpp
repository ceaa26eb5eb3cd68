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

// Virtual time that counts the tasks posted for a later turn, so that a test can tell that a
// refresh scheduled nothing.
class CountingScheduler final : public Scheduler {
public:
    explicit CountingScheduler(VirtualTime &time) : m_time(time) {}
    int posted = 0;

    void post(QObject *context, std::function<void()> task) override {
        ++posted;
        m_time.post(context, std::move(task));
    }
    void postDelayed(QObject *context, double seconds, std::function<void()> task) override {
        m_time.postDelayed(context, seconds, std::move(task));
    }
    std::unique_ptr<RepeatingTimer> scheduleRepeating(QObject *context, double seconds,
                                                      std::function<void()> task) override {
        return m_time.scheduleRepeating(context, seconds, std::move(task));
    }

private:
    VirtualTime &m_time;
};

struct Fixture {
    VirtualTime time;
    CountingScheduler scheduler{time};
    MemoryDefaultsStore defaults;
    AppUsageStore usage{defaults, time, std::nullopt};
    FakeWorkspace workspace;
    WindowMonitor monitor{workspace, usage, scheduler};
    QSignalSpy changes{&monitor, &WindowMonitor::runningAppsChanged};

    // Identifiers whose last launch is now: recorded launches, not seeded ones.
    QStringList launchedNow() const {
        QStringList ids;
        for (auto it = usage.lastLaunch().cbegin(); it != usage.lastLaunch().cend(); ++it)
            if (it.value() == time.now())
                ids.append(it.key());
        return ids;
    }
};

// Handles written as "identifier pid" with an optional policy ("accessory", "prohibited") and
// "-" for no identifier. The same text is the same handle.
class Handles {
public:
    QList<RunningApplicationPtr> operator()(const QStringList &specs) {
        QList<RunningApplicationPtr> handles;
        for (const QString &spec : specs) {
            if (!m_made.contains(spec))
                m_made.insert(spec, make(spec));
            handles.append(m_made.value(spec));
        }
        return handles;
    }

private:
    static RunningApplicationPtr make(const QString &spec) {
        const QStringList parts = spec.split(' ');
        const Policy policy = parts.value(2) == "accessory"    ? Policy::Accessory
                              : parts.value(2) == "prohibited" ? Policy::Prohibited
                                                               : Policy::Regular;
        return FakeRunningApplication::make(
            parts[0] == "-" ? std::nullopt : std::optional(parts[0]), parts[1].toInt(), policy);
    }
    QHash<QString, RunningApplicationPtr> m_made;
};

} // namespace

class WindowMonitorTest : public QObject {
    Q_OBJECT

private slots:
    void refreshReplacesTheListOnlyWhenProcessesCameOrWent_data() {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QStringList>("expected"); // the handles listed after the refresh
        const QStringList two{"org.example.Editor 100", "org.example.Mail 200"};
        QTest::newRow("nothing came or went") << two << two << two;
        QTest::newRow("same processes in another order")
            << two << QStringList{two[1], two[0]} << two;
        QTest::newRow("relaunched with a new process")
            << two << QStringList{"org.example.Editor 101", two[1]}
            << QStringList{"org.example.Editor 101", two[1]};
        QTest::newRow("one ended") << two << QStringList{two[1]} << QStringList{two[1]};
        QTest::newRow("all ended") << two << QStringList() << QStringList();
        QTest::newRow("only helpers, agents and entries without a process appear")
            << two
            << two + QStringList{"org.example.Tray 300 accessory",
                                 "org.example.Agent 400 prohibited", "org.example.Ghost 0",
                                 "org.example.Gone -1"}
            << two;
        QTest::newRow("this program, system components and apps without an identifier are listed")
            << QStringList()
            << QStringList{AppCatalog::builtInBundleIdentifier + " 50", "com.apple.finder 60",
                           "- 70", "org.example.Ghost 0"}
            << QStringList{AppCatalog::builtInBundleIdentifier + " 50", "com.apple.finder 60",
                           "- 70"};
    }
    void refreshReplacesTheListOnlyWhenProcessesCameOrWent() {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        QFETCH(QStringList, expected);
        Fixture f;
        Handles handles;
        f.workspace.applications = handles(before);
        f.monitor.refresh();
        f.time.runPending();
        const int changesBefore = int(f.changes.size());
        const int postedBefore = f.scheduler.posted;

        f.workspace.applications = handles(after);
        f.monitor.refresh();

        QCOMPARE(f.monitor.runningApps(), handles(expected));
        const int isChanged = expected != before ? 1 : 0;
        QCOMPARE(f.changes.size(), changesBefore + isChanged);
        QCOMPARE(f.scheduler.posted, postedBefore + isChanged); // the seeding
    }

    void regularLaunchRecordsOnceThenSeedsEveryListedApp() {
        Fixture f;
        Handles handles;
        f.workspace.applications =
            handles({"org.example.Mail 200", "- 300", "org.example.Tray 400 accessory"});
        f.monitor.startObserving();
        const auto editor = FakeRunningApplication::make("org.example.Editor", 100);

        f.workspace.launch(editor);

        QCOMPARE(f.monitor.runningApps(),
                 handles({"org.example.Mail 200", "- 300"}) + QList<RunningApplicationPtr>{editor});
        QCOMPARE(f.changes.size(), 1);
        QVERIFY(f.usage.launchCounts().isEmpty()); // not inside the handler
        f.time.runPending();
        // Seeding after the launch was recorded leaves the launch as it is.
        QCOMPARE(f.usage.launchCounts(),
                 (QHash<QString, qint64>{{"org.example.Editor", 1}, {"org.example.Mail", 1}}));
        QCOMPARE(f.launchedNow(), QStringList{"org.example.Editor"});

        f.workspace.end(editor);
        QCOMPARE(f.monitor.runningApps(), handles({"org.example.Mail 200", "- 300"}));
        QCOMPARE(f.changes.size(), 2);
        f.time.runPending();
        QCOMPARE(f.usage.launchCounts().value("org.example.Editor"), 1);
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
        Handles handles;
        const auto mail = handles({"org.example.Mail 200"});
        f.workspace.applications = mail;
        f.monitor.refresh();
        f.monitor.startObserving();
        const auto handle = handles({launched})[0];

        f.workspace.applications.append(handle);
        emit f.workspace.didLaunchApplication(isPosted ? handle : nullptr);
        f.time.runPending();

        QCOMPARE(f.monitor.runningApps(), isListed ? mail + QList{handle} : mail);
        QCOMPARE(f.changes.size(), isListed ? 2 : 1);
        QCOMPARE(f.launchedNow(), QStringList());
    }

    void timerRefreshesEveryFiveSecondsWhileTheMonitorLives() {
        Fixture f;
        Handles handles;
        auto monitor = std::make_unique<WindowMonitor>(f.workspace, f.usage, f.scheduler);
        monitor->startRefreshTimer();

        f.workspace.applications = handles({"org.example.Editor 100"});
        f.time.advance(4.999);
        QVERIFY(monitor->runningApps().isEmpty());
        f.time.advance(0.001);
        QCOMPARE(monitor->runningApps(), handles({"org.example.Editor 100"}));
        f.workspace.applications.clear();
        f.time.advance(5);
        QVERIFY(monitor->runningApps().isEmpty());

        monitor.reset();
        f.workspace.applications = handles({"org.example.Mail 200"});
        f.time.advance(10);
        QVERIFY(!f.usage.launchCounts().contains("org.example.Mail"));
    }
};

QTEST_GUILESS_MAIN(WindowMonitorTest)
#include "tst_windowmonitor.moc"
