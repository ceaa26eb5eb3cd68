#include "fakes/RecordingLog.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/LinuxSession.h"
#include "platform/linux/session/SessionRunningApplication.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "platform/linux/wayland/WlrForeignToplevelSource.h"
#include "session/SwaySession.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

using Rule = ApplicationMatcher::Rule;
Q_DECLARE_METATYPE(Rule)

namespace {

constexpr int programStartMs = 15000;

std::shared_ptr<SessionRunningApplication> sessionHandle(const RunningApplicationPtr &application) {
    return std::dynamic_pointer_cast<SessionRunningApplication>(application);
}

// The pid of the window that sway has focused, from its tree.
qint64 focusedProcess(const QJsonObject &node) {
    if (node.value("focused").toBool())
        return node.value("pid").toInteger();
    for (const char *children : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(children).toArray()) {
            if (const qint64 pid = focusedProcess(child.toObject()))
                return pid;
        }
    }
    return 0;
}

} // namespace

// The workspace of a Wayland session on a real headless sway with its Xwayland: native clients
// through the foreign toplevel protocol, X11 clients through the X11 code, real desktop entries
// in a private XDG tree.
class SwayWorkspaceTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    std::unique_ptr<SwaySession> m_sway;
    std::unique_ptr<DesktopEntryApplications> m_bundles;
    RecordingLog m_log;
    QThreadPool m_pool;
    std::unique_ptr<SessionWorkspace> m_workspace;

    QString applicationsFolder() const { return m_root.filePath("data/applications"); }
    std::shared_ptr<SessionRunningApplication> waitForProcess(qint64 processIdentifier) {
        RunningApplicationPtr found;
        [[maybe_unused]] const bool isUp = QTest::qWaitFor(
            [&] {
                m_workspace->runningApplications();
                return (found = m_workspace->runningApplication(qint32(processIdentifier))) !=
                       nullptr;
            },
            programStartMs);
        return sessionHandle(found);
    }
    int countOf(qint64 processIdentifier) {
        const auto applications = m_workspace->runningApplications();
        return int(std::count_if(applications.begin(), applications.end(), [&](const auto &a) {
            return a->processIdentifier() == processIdentifier;
        }));
    }
    QList<RunningApplicationPtr> applicationsWithId(const QString &bundleID) {
        QList<RunningApplicationPtr> found;
        for (const auto &application : m_workspace->runningApplications())
            if (application->bundleIdentifier() == bundleID)
                found.append(application);
        return found;
    }
    qint64 focusedProcess() {
        return ::focusedProcess(
            QJsonDocument::fromJson(m_sway->run("swaymsg", {"-r", "-t", "get_tree"})).object());
    }
    const WlrForeignToplevelSource *compositor() const {
        for (const auto &source : m_workspace->sources())
            if (const auto *wlr = qobject_cast<const WlrForeignToplevelSource *>(source.get()))
                return wlr;
        return nullptr;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_root.isValid());
        QVERIFY(QDir().mkpath(applicationsFolder()));
        QVERIFY(QDir().mkpath(m_root.filePath("system")));
        qputenv("XDG_DATA_HOME", m_root.filePath("data").toUtf8());
        qputenv("XDG_DATA_DIRS", m_root.filePath("system").toUtf8());
        for (const QString id : {"debian-xterm", "org.xfce.mousepad", "foot"})
            QVERIFY(QFile::copy("/usr/share/applications/" + id + ".desktop",
                                applicationsFolder() + '/' + id + ".desktop"));
        m_sway = std::make_unique<SwaySession>();
        QVERIFY2(m_sway->isReady(), "sway and its Xwayland start");
        QVERIFY2(!m_sway->ipcSocket().isEmpty(), "sway's IPC socket is there");
        m_bundles = std::make_unique<DesktopEntryApplications>();
        m_workspace = LinuxSession::workspace(*m_bundles, m_log, m_pool);
        QVERIFY2(compositor(), "the workspace reads sway's foreign toplevels");
        QVERIFY(m_log.lines.isEmpty());
    }

    void init() { m_log.lines.clear(); }

    void identifiesEachClientOnce_data() {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<QString>("bundleID");
        QTest::addColumn<QString>("name");
        QTest::addColumn<Rule>("rule");
        QTest::newRow("foot, its app_id stating its entry")
            << QStringList{"foot"} << QStringList{} << "foot"
            << "Foot" << Rule::statedId;
        QTest::newRow("mousepad on GTK's Wayland backend, by the last part of its entry's id")
            << QStringList{"mousepad"} << QStringList{"GDK_BACKEND=wayland"} << "org.xfce.mousepad"
            << "Mousepad" << Rule::wmClassAsId;
        QTest::newRow("a Qt 6 program on Wayland, named after its app_id")
            << QStringList{QUELLORY_QT_WINDOW, "org.example.QtWindow"}
            << QStringList{"QT_QPA_PLATFORM=wayland"} << "org.example.QtWindow"
            << "org.example.QtWindow" << Rule::windowClass;
        QTest::newRow("xterm on Xwayland, through the X11 code")
            << QStringList{"xterm"} << QStringList{} << "debian-xterm"
            << "XTerm" << Rule::startupWMClass;
    }
    void identifiesEachClientOnce() {
        QFETCH(QStringList, command);
        QFETCH(QStringList, environment);
        QFETCH(QString, bundleID);
        QFETCH(QString, name);
        QFETCH(Rule, rule);
        QProcessEnvironment extra;
        for (const QString &variable : environment)
            extra.insert(variable.section('=', 0, 0), variable.section('=', 1));
        QSignalSpy launched(m_workspace.get(), &Workspace::didLaunchApplication);
        const qint64 pid = m_sway->start(command.takeFirst(), command, extra);
        QVERIFY(pid > 0);
        const auto application = waitForProcess(pid);
        QVERIFY2(application, "the client is listed with its own pid");
        QCOMPARE(application->bundleIdentifier(), bundleID);
        QCOMPARE(application->localizedName(), name);
        QCOMPARE(application->match().rule, rule);
        QCOMPARE(application->activationPolicy(), RunningApplication::ActivationPolicy::Regular);
        QCOMPARE(countOf(pid), 1);
        QTRY_COMPARE(launched.count(), 1);
        QCOMPARE(launched.first().first().value<RunningApplicationPtr>(), application);
        // No window of it is listed twice, by the compositor and by Xwayland.
        QTest::qWait(200);
        QCOMPARE(countOf(pid), 1);
        QCOMPARE(application->windows().size(), size_t(1));
    }

    void quitClosesFootAndAsksMousepad() {
        const auto foot = applicationsWithId("foot").value(0);
        QVERIFY(foot);
        QVERIFY(foot->terminate());
        QTRY_VERIFY_WITH_TIMEOUT(foot->isTerminated(), programStartMs);

        const auto mousepad = sessionHandle(applicationsWithId("org.xfce.mousepad").value(0));
        QVERIFY(mousepad);
        m_sway->run("swaymsg", {QString("[pid=%1] focus").arg(mousepad->processIdentifier())});
        m_sway->run("wtype", {"unsaved words"});
        QTRY_VERIFY(mousepad->windows().front().title.startsWith('*'));
        QVERIFY(mousepad->terminate());
        // It asks in a dialog of its own and runs on.
        QTRY_COMPARE_WITH_TIMEOUT(mousepad->windows().size(), size_t(2), programStartMs);
        QTest::qWait(500);
        QVERIFY(!mousepad->isTerminated());
        QVERIFY(m_log.lines.isEmpty());
    }

    void neverClosesAnXwaylandWindowThatCannotBeAsked() {
        const qint64 pid = m_sway->start(QUELLORY_BARE_WINDOW);
        const auto bare = waitForProcess(pid);
        QVERIFY(bare);
        QCOMPARE(countOf(pid), 1);
        QVERIFY2(!bare->terminate(), "no request can be made of it");
        QTest::qWait(500);
        QVERIFY(!bare->isTerminated());
        QVERIFY(m_workspace->runningApplication(qint32(pid)));
    }

    void aToplevelClosedByItsProgramLeavesAtOnce() {
        QProcessEnvironment onWayland;
        onWayland.insert("QT_QPA_PLATFORM", "wayland");
        const qint64 pid =
            m_sway->start(QUELLORY_QT_WINDOW, {"org.example.Hiding", "1500"}, onWayland);
        const auto hiding = waitForProcess(pid);
        QVERIFY(hiding);
        QSignalSpy terminated(m_workspace.get(), &Workspace::didTerminateApplication);
        qint64 sinceClosedMs = -1;
        connect(m_workspace.get(), &Workspace::didTerminateApplication, this,
                [&] { sinceClosedMs = compositor()->sinceLastClosed().elapsed(); });
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, programStartMs);
        QCOMPARE(terminated.first().first().value<RunningApplicationPtr>(), hiding);
        QVERIFY2(sinceClosedMs >= 0 && sinceClosedMs <= 50,
                 qPrintable(QString("left %1 ms after the closed event").arg(sinceClosedMs)));
        QVERIFY(!m_workspace->runningApplication(qint32(pid)));
        // The process runs on without a window.
        QVERIFY(!hiding->isTerminated());
    }

    void opensOnceAndThenActivates() {
        const QString path = applicationsFolder() + "/foot.desktop";
        QVERIFY(applicationsWithId("foot").isEmpty());
        const auto open = [&] {
            std::optional<QString> error = QStringLiteral("no answer");
            bool answered = false;
            m_workspace->openApplication(path, [&](const std::optional<QString> &e) {
                QMetaObject::invokeMethod(this, [&, e] { error = e, answered = true; });
            });
            [[maybe_unused]] const bool ok = QTest::qWaitFor([&] { return answered; }, 5000);
            return error;
        };
        QCOMPARE(open(), std::nullopt);
        QTRY_COMPARE_WITH_TIMEOUT(applicationsWithId("foot").size(), 1, programStartMs);
        const auto foot = applicationsWithId("foot").front();
        m_sway->run("swaymsg", {"[app_id=mousepad] focus"});
        QVERIFY(focusedProcess() != foot->processIdentifier());
        QCOMPARE(open(), std::nullopt);
        QTRY_COMPARE(focusedProcess(), qint64(foot->processIdentifier()));
        QTest::qWait(500);
        QCOMPARE(applicationsWithId("foot").size(), 1);
    }

    void compositorGoingAwayEmptiesTheList() {
        QVERIFY(!m_workspace->runningApplications().isEmpty());
        m_sway->stop();
        QTRY_VERIFY_WITH_TIMEOUT(m_workspace->runningApplications().isEmpty(), programStartMs);
        QTest::qWait(200);
        QCOMPARE(m_log.lines.size(), 1);
        QVERIFY(m_log.lines.front().contains("Wayland compositor"));
        QVERIFY(m_workspace->runningApplications().isEmpty());
    }
};

QTEST_GUILESS_MAIN(SwayWorkspaceTest)
#include "tst_swayworkspace.moc"
