#include "fakes/MemoryDefaultsStore.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/EventLoopScheduler.h"
#include "models/SystemClock.h"
#include "platform/linux/session/ApplicationQuitAction.h"
#include "session/WorkspaceFixture.h"
#include "session/XSession.h"
#include "views/AppsListActions.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QSignalSpy>

using Rule = ApplicationMatcher::Rule;
Q_DECLARE_METATYPE(Rule)

namespace {

QString bareWindow() {
    return qEnvironmentVariable("QUELLORY_TEST_BIN_DIR") + "/quellory-bare-window";
}

} // namespace

// The workspace on a real X server with openbox, real programs and desktop entries in a private
// XDG tree; quitting and opening go through the list's own actions.
class X11WorkspaceTest : public QObject, WorkspaceFixture {
    Q_OBJECT

private:
    std::unique_ptr<XSession> m_session;
    MemoryDefaultsStore m_defaults;
    SystemClock m_clock;
    EventLoopScheduler m_scheduler;
    std::unique_ptr<AppUsageStore> m_usage;
    std::unique_ptr<AppsListActions> m_actions;

    QString activeWindow() {
        const QByteArray text = m_session->run("xprop", {"-root", "_NET_ACTIVE_WINDOW"});
        return QString::fromLatin1(text.mid(text.lastIndexOf(' ') + 1).trimmed());
    }
    static QString hex(quint64 window) { return QString::number(window, 16).prepend("0x"); }
    static bool isPosted(const QSignalSpy &spy, const RunningApplicationPtr &application) {
        return std::any_of(spy.begin(), spy.end(), [&](const QList<QVariant> &args) {
            return args[0].value<RunningApplicationPtr>() == application;
        });
    }

private slots:
    void initTestCase() {
        m_session = std::make_unique<XSession>();
        QVERIFY2(m_session->isReady(), "Xvfb and openbox start");
        QVERIFY(makeEntries({"debian-xterm", "org.xfce.mousepad"}));
        // The entry as the build writes it, with the installed program's path.
        QVERIFY(QFile::copy(qEnvironmentVariable("QUELLORY_TEST_BIN_DIR") +
                                "/../resources/app.quellory.Quellory.desktop",
                            applicationsFolder() + "/app.quellory.Quellory.desktop"));
        writeEntry("clock-app", "Name=Clock\nExec=xclock -digital\n");
        writeEntry("logo-launcher", "Name=Logo\nExec=xlogo\n");
        openWorkspace();
        m_usage =
            std::make_unique<AppUsageStore>(m_defaults, m_clock, m_bundles->mainBundleIdentifier());
        m_actions = std::make_unique<AppsListActions>(*m_workspace, *m_usage, *m_bundles,
                                                      m_scheduler, m_log);
    }

    void init() { m_log.lines.clear(); }

    void identifiesEachProgramAndQuitsItPolitely_data() {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QString>("bundleID");
        QTest::addColumn<QString>("name");
        QTest::addColumn<Rule>("rule");
        const auto row = [](const char *title, const QStringList &command, const char *bundleID,
                            const char *name, Rule rule) {
            QTest::newRow(title) << command << bundleID << name << rule;
        };
        row("xterm by its StartupWMClass", {"xterm"}, "debian-xterm", "XTerm",
            Rule::startupWMClass);
        row("mousepad by its _GTK_APPLICATION_ID", {"mousepad"}, "org.xfce.mousepad", "Mousepad",
            Rule::statedId);
        row("xclock by its command line", {"xclock", "-digital"}, "clock-app", "Clock",
            Rule::commandLine);
    }
    void identifiesEachProgramAndQuitsItPolitely() {
        QFETCH(QStringList, command);
        QFETCH(QString, bundleID);
        QFETCH(QString, name);
        QFETCH(Rule, rule);
        QSignalSpy launches(m_workspace.get(), &Workspace::didLaunchApplication);
        QSignalSpy ends(m_workspace.get(), &Workspace::didTerminateApplication);

        const qint64 pid = m_session->start(command.front(), command.mid(1));
        const auto application = waitForProcess(pid);
        QVERIFY2(application, "the program's window is listed");
        QCOMPARE(application->bundleIdentifier(), bundleID);
        QCOMPARE(application->localizedName(), name);
        QCOMPARE(application->match().rule, rule);
        QCOMPARE(application->activationPolicy(), RunningApplication::ActivationPolicy::Regular);
        QVERIFY(application->bundlePath());
        QVERIFY(m_workspace->runningApplications().contains(application));
        QVERIFY(isPosted(launches, application));

        m_actions->quitApp(bundleID, application);
        QVERIFY(m_log.lines.isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(pid), programStartMs);
        QTRY_VERIFY(application->isTerminated());
        QVERIFY(!m_workspace->runningApplications().contains(application));
        QVERIFY(isPosted(ends, application));
    }

    void editorWithUnsavedWorkIsAskedAndKeepsRunning() {
        const qint64 pid = m_session->start("mousepad");
        const auto application = waitForProcess(pid);
        QVERIFY(application);
        QTRY_VERIFY2(application->exportsQuitAction(), "mousepad offers its own Quit");
        const QString window = hex(application->windows().front().id);
        m_session->run("xdotool", {"windowactivate", "--sync", window, "type", "unsaved words"});
        QTRY_VERIFY2_WITH_TIMEOUT(
            m_session->run("xprop", {"-id", window, "_NET_WM_NAME"}).contains("*"),
            "the document is modified", programStartMs);

        m_actions->quitApp("org.xfce.mousepad", application);
        QVERIFY2(m_log.lines.isEmpty(), "the request was sent");
        // The save prompt is a second window of the same process.
        QTRY_VERIFY_WITH_TIMEOUT(
            (m_workspace->runningApplications(), application->windows().size() >= 2),
            programStartMs);
        QTest::qWait(1000);
        QVERIFY(XSession::isRunning(pid));
        QVERIFY(!application->isTerminated());
    }

    void quitReachesOnlyTheWindowsOwnProcess() {
        // A program without windows that exports its own Quit, and windows of another process
        // that state its well-known name, then its unique one, as their application's.
        const QString victimName = "org.quellory.test.Victim", path = "/org/quellory/test/Victim";
        const qint64 victim =
            m_session->start("/usr/bin/python3", {qEnvironmentVariable("QUELLORY_SOURCE_DIR") +
                                                  "/tests/session/quit-victim.py"});
        QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
        QTRY_VERIFY_WITH_TIMEOUT(bus->isServiceRegistered(victimName), programStartMs);
        const QString victimOwner = bus->serviceOwner(victimName);
        for (const QString &stated : {victimName, victimOwner}) {
            const qint64 hostile = m_session->start(
                bareWindow(),
                {"1", "0", "WM_CLASS:STRING=hostile,Hostile", "_GTK_APPLICATION_ID=" + victimName,
                 "_GTK_UNIQUE_BUS_NAME=" + stated, "_GTK_APPLICATION_OBJECT_PATH=" + path});
            const auto application = waitForProcess(hostile);
            QVERIFY(application);
            QCOMPARE(application->windows().front().gtkBusName, stated);
            QTest::qWait(1000); // for the bus and the victim to answer
            QVERIFY(!application->exportsQuitAction());
            m_actions->quitApp("Hostile", application);
            QTest::qWait(1000);
            QVERIFY2(XSession::isRunning(victim), "the victim was not asked to quit");
            QVERIFY(XSession::isRunning(hostile));
        }
        QVERIFY(ApplicationQuitAction::activate(victimOwner, path));
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(victim), programStartMs);
    }

    void otherProgramsNeverPassForThisOne_data() {
        QTest::addColumn<QStringList>("properties");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("listedAs");
        QTest::newRow("its identifier stated")
            << QStringList{"WM_CLASS:STRING=other,Other",
                           "_GTK_APPLICATION_ID=app.quellory.Quellory"}
            << ""
            << "quellory-bare-window";
        QTest::newRow("its window class") << QStringList{"WM_CLASS:STRING=quellory,Quellory"} << ""
                                          << "quellory-bare-window";
        QTest::newRow("its identifier as the window class")
            << QStringList{"WM_CLASS:STRING=app.quellory.Quellory,app.quellory.Quellory"} << ""
            << "quellory-bare-window";
        // The server cannot tell the pid of a client on TCP.
        QTest::newRow("its pid, over TCP")
            << QStringList{"WM_CLASS:STRING=other,Other",
                           "_NET_WM_PID:CARDINAL=" +
                               QString::number(QCoreApplication::applicationPid())}
            << "localhost"
            << "Other";
    }
    void otherProgramsNeverPassForThisOne() {
        QFETCH(QStringList, properties);
        QFETCH(QString, host);
        QFETCH(QString, listedAs);
        QProcessEnvironment display;
        display.insert("DISPLAY", host + m_session->display());
        const qint64 pid =
            m_session->start(bareWindow(), QStringList{"1", "0"} + properties, display);
        const auto application = waitForProcess(pid);
        QVERIFY2(application, "it is listed by its own pid");
        QCOMPARE(application->localizedName(), listedAs);
        QCOMPARE(application->bundlePath(), std::nullopt);
    }

    void opensOnceThenBringsTheRunningInstanceForward() {
        const QString path = applicationsFolder() + "/logo-launcher.desktop";
        m_actions->openApp("logo-launcher", path);
        QCOMPARE(m_usage->launchCounts().value("logo-launcher"), 1);
        QTRY_VERIFY(m_actions->busyIDs().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(applicationsWithId("logo-launcher").size(), 1, programStartMs);
        const auto logo = applicationsWithId("logo-launcher").front();
        QCOMPARE(logo->match().rule, Rule::launchRecord);

        // Another window takes the focus, then opening the entry again brings xlogo back.
        const auto other = waitForProcess(m_session->start("xterm"));
        QVERIFY(other);
        m_session->run("xdotool", {"windowactivate", hex(other->windows().front().id)});
        QTRY_COMPARE(activeWindow(), hex(other->windows().front().id));
        m_actions->openApp("logo-launcher", path);
        QTRY_VERIFY(m_actions->busyIDs().isEmpty());
        QTRY_COMPARE(activeWindow(), hex(logo->windows().front().id));
        QTest::qWait(1000);
        QCOMPARE(applicationsWithId("logo-launcher").size(), 1);
        QCOMPARE(m_usage->launchCounts().value("logo-launcher"), 2);
        QVERIFY(m_log.lines.isEmpty());
        other->terminate();
        logo->terminate();
    }

    void openingADeletedEntryLogsTheFailure() {
        const QString path = writeEntry("gone", "Name=Gone\nExec=xlogo\n");
        QVERIFY(QFile::remove(path));
        m_actions->openApp("gone", path);
        QTRY_VERIFY(m_actions->busyIDs().isEmpty());
        QCOMPARE(m_log.lines.size(), 1);
        QVERIFY2(m_log.lines.front().startsWith("Quellory: failed to open gone: "),
                 qPrintable(m_log.lines.front()));
    }

    void windowManagerGoneAndBack() {
        const qint64 pid = m_session->start("xterm");
        const auto xterm = waitForProcess(pid);
        QVERIFY(xterm);
        QVERIFY(m_session->stopWindowManager());
        // The manager's client list stays behind, but its windows are back on the root: the
        // list follows them, keeping the handle of the process.
        QTRY_VERIFY(m_workspace->runningApplications().contains(xterm));
        const qint64 other = m_session->start("xeyes");
        QTRY_VERIFY_WITH_TIMEOUT(m_workspace->runningApplication(qint32(other)), programStartMs);
        QVERIFY(m_session->startWindowManager());
        QTRY_VERIFY(m_workspace->runningApplications().contains(xterm));
        QVERIFY(handle(m_workspace->runningApplication(qint32(other)))->terminate());
        QVERIFY(xterm->terminate());
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(pid), programStartMs);
    }

    // Last, as it ends the session.
    void serverGoneLeavesAnEmptyListAndOneLine() {
        const auto xterm = waitForProcess(m_session->start("xterm"));
        QVERIFY(xterm);
        QSignalSpy ends(m_workspace.get(), &Workspace::didTerminateApplication);
        m_log.lines.clear();

        m_session.reset();
        QTRY_COMPARE(m_log.lines.size(), 1);
        QVERIFY2(m_log.lines.front().startsWith("Quellory: lost the connection to the X server"),
                 qPrintable(m_log.lines.front()));
        QVERIFY(m_workspace->runningApplications().isEmpty());
        QVERIFY(isPosted(ends, xterm));
        // Asking again neither crashes nor repeats itself.
        QVERIFY(!xterm->terminate());
        QTest::qWait(100);
        QVERIFY(m_workspace->runningApplications().isEmpty());
        QCOMPARE(m_log.lines.size(), 1);
    }

    void noServerAtAll() {
        qputenv("DISPLAY", ":9999");
        RecordingLog log;
        const auto workspace = LinuxSession::workspace(*m_bundles, log, m_pool);
        QVERIFY(workspace->runningApplications().isEmpty());
        QVERIFY(!workspace->runningApplication(1));
        QCOMPARE(log.lines.size(), 1);
        QVERIFY2(log.lines.front().startsWith("Quellory: cannot connect to the X server"),
                 qPrintable(log.lines.front()));
    }
};

QTEST_GUILESS_MAIN(X11WorkspaceTest)
#include "tst_x11workspace.moc"
