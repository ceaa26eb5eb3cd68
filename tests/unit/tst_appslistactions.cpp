#include "fakes/AppsListFixture.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <thread>

namespace {

using Policy = RunningApplication::ActivationPolicy;

const QString &editor = AppsListSession::editor;
const QString &mail = AppsListSession::mail;
const QString editorPath = QStringLiteral("/usr/share/applications/org.example.Editor.desktop");

// One process of an application, as the workspace or a row holds it.
struct Instance {
    qint32 pid = 0;
    bool refuses = false;
    bool isEnded = false;
    Policy policy = Policy::Regular;
    QString id = editor;

    std::shared_ptr<FakeRunningApplication> make() const {
        auto application = FakeRunningApplication::make(id, pid, policy);
        application->acceptsTerminate = !refuses;
        application->terminated = isEnded;
        return application;
    }
};

QString refused(qint32 pid) {
    return AppsListSession::refusedQuit(editor, pid).front();
}
const QString noneSent = AppsListSession::refusedQuit(editor, 0).back();

} // namespace

class AppsListActionsTest : public QObject {
    Q_OBJECT

private slots:
    void quitAsksEveryRunningInstanceAndClearsAfterwards_data() {
        QTest::addColumn<QList<Instance>>("listed");
        QTest::addColumn<std::optional<Instance>>("rowHandle");
        QTest::addColumn<QList<int>>("terminateCalls"); // of each listed one, then the row's
        QTest::addColumn<QStringList>("log");
        using Row = std::optional<Instance>;
        QTest::newRow("two instances, both asked")
            << QList<Instance>{{.pid = 100}, {.pid = 200}} << Row({.pid = 100}) << QList{1, 1, 0}
            << QStringList();
        QTest::newRow("one refuses, one accepts")
            << QList<Instance>{{.pid = 100, .refuses = true}, {.pid = 200}} << Row() << QList{1, 1}
            << QStringList{refused(100)};
        QTest::newRow("every instance refuses")
            << QList<Instance>{{.pid = 100, .refuses = true}, {.pid = 200, .refuses = true}}
            << Row() << QList{1, 1} << QStringList{refused(100), refused(200), noneSent};
        QTest::newRow("ended just before the request")
            << QList<Instance>() << Row({.pid = 100, .isEnded = true}) << QList{0}
            << QStringList{noneSent};
        QTest::newRow("not listed yet: the row's handle is asked, whatever its policy")
            << QList<Instance>() << Row({.pid = 100, .policy = Policy::Accessory}) << QList{1}
            << QStringList();
        QTest::newRow("other apps, helpers and ended instances are left alone")
            << QList<Instance>{{.pid = 100, .id = mail},
                               {.pid = 200, .policy = Policy::Accessory},
                               {.pid = 300, .isEnded = true}}
            << Row() << QList{0, 0, 0} << QStringList{noneSent};
    }
    void quitAsksEveryRunningInstanceAndClearsAfterwards() {
        QFETCH(QList<Instance>, listed);
        QFETCH(std::optional<Instance>, rowHandle);
        AppsListSession f;
        QList<std::shared_ptr<FakeRunningApplication>> asked;
        for (const Instance &instance : listed)
            f.workspace.applications.append(asked.emplace_back(instance.make()));
        if (rowHandle)
            asked.append(rowHandle->make());
        f.actions.setSelectedIDs({editor, mail});

        f.actions.quitApp(editor, rowHandle ? asked.last() : nullptr);

        QList<int> calls;
        for (const auto &application : asked)
            calls.append(application->terminateCalls);
        QTEST(calls, "terminateCalls");
        QTEST(f.log.lines, "log");
        f.time.advance(1.499);
        QCOMPARE(f.actions.busyIDs(), QSet{editor});
        QCOMPARE(f.actions.selectedIDs(), (QSet{editor, mail}));
        f.time.advance(0.001);
        QVERIFY(f.actions.busyIDs().isEmpty());
        QCOMPARE(f.actions.selectedIDs(), QSet{mail});
        QVERIFY(f.usage.launchCounts().isEmpty());
    }

    void systemComponentsAndThisProgramAreNeverQuit_data() {
        QTest::addColumn<QString>("id");
        QTest::addColumn<std::optional<QString>>("ownID"); // as installed
        const QString installed = QStringLiteral("org.example.QuelloryDev");
        QTest::newRow("a system component") << "com.apple.finder" << std::optional<QString>();
        QTest::newRow("this program as built")
            << AppCatalog::builtInBundleIdentifier << std::optional<QString>();
        QTest::newRow("this program as installed") << installed << std::optional(installed);
    }
    void systemComponentsAndThisProgramAreNeverQuit() {
        QFETCH(QString, id);
        QFETCH(std::optional<QString>, ownID);
        AppsListSession f;
        f.bundles.mainID = ownID;
        const auto application = Instance{.pid = 100, .id = id}.make();
        f.workspace.applications = {application};
        f.actions.setSelectedIDs({id});
        QSignalSpy busyChanges(&f.actions, &AppsListActions::busyIDsChanged);

        f.actions.quitApp(id, application);
        f.time.advance(2);

        QCOMPARE(application->terminateCalls, 0);
        QCOMPARE(busyChanges.size(), 0);
        QVERIFY(f.log.lines.isEmpty());
        QCOMPARE(f.actions.selectedIDs(), QSet{id}); // no clean-up was scheduled
    }

    void theFirstContinuationClearsTheBusyMark() {
        AppsListSession f;
        f.workspace.applications = {Instance{.pid = 100}.make()};
        QSignalSpy busyChanges(&f.actions, &AppsListActions::busyIDsChanged);

        f.actions.quitApp(editor, nullptr);
        f.time.advance(1);
        f.actions.quitApp(editor, nullptr);
        QCOMPARE(busyChanges.size(), 1);
        f.time.advance(0.5);
        QVERIFY(f.actions.busyIDs().isEmpty());
        f.actions.openApp(editor, editorPath);
        QCOMPARE(f.actions.busyIDs(), QSet{editor});
        f.time.advance(1); // the second quit's clean-up, while the launch is still pending
        QVERIFY(f.actions.busyIDs().isEmpty());
        f.workspace.takeOpenCompletion()(std::nullopt);
        QCoreApplication::processEvents();
        QCOMPARE(busyChanges.size(), 4);
    }

    void selectionSignalsOnlyRealChanges() {
        AppsListSession f;
        QSignalSpy changes(&f.actions, &AppsListActions::selectedIDsChanged);
        f.actions.setSelectedIDs({editor, mail});
        f.actions.setSelectedIDs({mail, editor});
        f.actions.insertSelectedID(editor);
        f.actions.removeSelectedID("org.example.Absent");
        QCOMPARE(changes.size(), 1);
        f.actions.removeSelectedID(editor);
        f.actions.insertSelectedID(editor);
        f.actions.setSelectedIDs({});
        f.actions.setSelectedIDs({});
        QCOMPARE(changes.size(), 4);
    }

    void openRecordsTheLaunchThenLaunches_data() {
        QTest::addColumn<std::optional<QString>>("url");
        QTest::addColumn<std::optional<QString>>("installedPath");
        QTest::addColumn<std::optional<QString>>("launchedPath");
        const auto none = std::optional<QString>();
        const auto given = std::optional(editorPath);
        const auto elsewhere = std::optional<QString>("/opt/editor/org.example.Editor.desktop");
        QTest::newRow("the item's location") << given << none << given;
        QTest::newRow("the item's location before the workspace's") << given << elsewhere << given;
        QTest::newRow("where the workspace finds it") << none << elsewhere << elsewhere;
        QTest::newRow("no location anywhere: nothing happens") << none << none << none;
    }
    void openRecordsTheLaunchThenLaunches() {
        QFETCH(std::optional<QString>, url);
        QFETCH(std::optional<QString>, installedPath);
        QFETCH(std::optional<QString>, launchedPath);
        AppsListSession f;
        if (installedPath)
            f.workspace.installedPaths.insert(editor, *installedPath);
        QStringList launches; // each path with the launches counted by then
        f.workspace.onOpen = [&](const QString &path) {
            launches.append(path + " after " +
                            QString::number(f.usage.launchCounts().value(editor)));
        };
        QSignalSpy busyChanges(&f.actions, &AppsListActions::busyIDsChanged);

        f.actions.openApp(editor, url);

        QCOMPARE(launches, launchedPath ? QStringList{*launchedPath + " after 1"} : QStringList());
        QCOMPARE(busyChanges.size(), launchedPath ? 1 : 0);
        QCOMPARE(f.usage.launchCounts().value(editor), launchedPath ? 1 : 0);
    }

    void launchOutcomeComesBackOnTheMainThread_data() {
        QTest::addColumn<std::optional<QString>>("error");
        QTest::addColumn<bool>("isFromOtherThread");
        QTest::newRow("launched") << std::optional<QString>() << false;
        QTest::newRow("failed, told on another thread")
            << std::optional<QString>("The file “editor” does not exist.") << true;
    }
    void launchOutcomeComesBackOnTheMainThread() {
        QFETCH(std::optional<QString>, error);
        QFETCH(bool, isFromOtherThread);
        AppsListSession f;
        f.actions.setSelectedIDs({editor});
        QSignalSpy selectionChanges(&f.actions, &AppsListActions::selectedIDsChanged);
        QList<QThread *> finishedOn;
        connect(&f.actions, &AppsListActions::busyIDsChanged, this,
                [&] { finishedOn.append(QThread::currentThread()); });

        f.actions.openApp(editor, editorPath);
        const auto completion = f.workspace.takeOpenCompletion();
        if (isFromOtherThread)
            std::thread([&] { completion(error); }).join();
        else
            completion(error);

        QCOMPARE(f.actions.busyIDs(), QSet{editor}); // handed on, not finished inside the call
        QVERIFY(f.log.lines.isEmpty());
        QCoreApplication::processEvents();
        QVERIFY(f.actions.busyIDs().isEmpty());
        QCOMPARE(finishedOn, QList<QThread *>(2, thread()));
        QCOMPARE(f.log.lines,
                 error ? QStringList{"Quellory: failed to open org.example.Editor: " + *error}
                       : QStringList());
        QCOMPARE(selectionChanges.size(), 0);
    }

    void launchOutcomeAfterTheListIsGoneIsDropped() {
        AppsListSession f;
        auto actions =
            std::make_unique<AppsListActions>(f.workspace, f.usage, f.bundles, f.time, f.log);
        actions->openApp(editor, editorPath);
        const auto completion = f.workspace.takeOpenCompletion();
        actions.reset();

        std::thread([&] { completion(QStringLiteral("gone")); }).join();
        QCoreApplication::processEvents();

        QVERIFY(f.log.lines.isEmpty());
    }
};

QTEST_GUILESS_MAIN(AppsListActionsTest)
#include "tst_appslistactions.moc"
