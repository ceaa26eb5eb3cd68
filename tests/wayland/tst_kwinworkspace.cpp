#include "fakes/RecordingLog.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/LinuxSession.h"
#include "platform/linux/session/SessionRunningApplication.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "platform/linux/wayland/PlasmaWindowSource.h"
#include "session/FakeKeyboard.h"
#include "session/KWinSession.h"

#include <QDir>
#include <QFile>
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

} // namespace

// The workspace of a Wayland session on a real headless KWin with its Xwayland: native clients
// through Plasma's window management, which KWin grants this program through a real desktop
// entry, X11 clients through the X11 code, and real desktop entries in a private XDG tree.
class KWinWorkspaceTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    std::unique_ptr<KWinSession> m_kwin;
    std::unique_ptr<DesktopEntryApplications> m_bundles;
    RecordingLog m_log;
    QThreadPool m_pool;
    std::unique_ptr<SessionWorkspace> m_workspace;

    QString applicationsFolder() const { return m_root.filePath("data/applications"); }
    void writeEntry(const QString &id, const QString &lines) {
        QFile file(applicationsFolder() + '/' + id + ".desktop");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(("[Desktop Entry]\nType=Application\n" + lines).toUtf8());
    }
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
    QList<std::shared_ptr<SessionRunningApplication>> applicationsWhere(auto condition) {
        QList<std::shared_ptr<SessionRunningApplication>> found;
        for (const auto &application : m_workspace->runningApplications()) {
            if (condition(*application))
                found.append(sessionHandle(application));
        }
        return found;
    }
    qsizetype countOf(qint64 processIdentifier) {
        return applicationsWhere([&](const RunningApplication &a) {
                   return a.processIdentifier() == processIdentifier;
               })
            .size();
    }
    QList<std::shared_ptr<SessionRunningApplication>> applicationsWithId(const QString &bundleID) {
        return applicationsWhere(
            [&](const RunningApplication &a) { return a.bundleIdentifier() == bundleID; });
    }
    const PlasmaWindowSource *compositor() const {
        for (const auto &source : m_workspace->sources())
            if (const auto *plasma = qobject_cast<const PlasmaWindowSource *>(source.get()))
                return plasma;
        return nullptr;
    }
    void activate(const SessionRunningApplication &application) {
        const ClientWindow &window = application.windows().front();
        window.source->activate(window);
    }

private slots:
    void initTestCase() {
        QVERIFY(m_root.isValid());
        QVERIFY(QDir().mkpath(applicationsFolder()));
        QVERIFY(QDir().mkpath(m_root.filePath("system")));
        qputenv("XDG_DATA_HOME", m_root.filePath("data").toUtf8());
        for (const QString id : {"debian-xterm", "org.xfce.mousepad", "org.gnome.Calculator"})
            QVERIFY(QFile::copy("/usr/share/applications/" + id + ".desktop",
                                applicationsFolder() + '/' + id + ".desktop"));
        // KWin's window list and fake keyboard go to this program, named by its absolute path.
        writeEntry("quellory-tests",
                   "Name=Quellory's tests\nExec=" + QCoreApplication::applicationFilePath() +
                       "\nX-KDE-Wayland-Interfaces=org_kde_plasma_window_management,"
                       "org_kde_kwin_fake_input\n");
        // The entry runs the Qt window under a name of its own: the same program by its own name
        // would be this entry's by its command line wherever it runs.
        const QString opened = m_root.filePath("opened-window");
        QVERIFY(QFile::link(QStringLiteral(QUELLORY_QT_WINDOW), opened));
        writeEntry("org.example.Opened", "Name=Opened\nExec=env QT_QPA_PLATFORM=wayland " + opened +
                                             " org.example.Opened\n");
        m_kwin = std::make_unique<KWinSession>();
        QVERIFY2(m_kwin->isReady(), "KWin and its Xwayland start");
        // The programs keep the system's data (GTK's settings schemas); the catalog reads
        // only the entries above.
        qputenv("XDG_DATA_DIRS", m_root.filePath("system").toUtf8());
        m_bundles = std::make_unique<DesktopEntryApplications>();
        m_workspace = LinuxSession::workspace(*m_bundles, m_log, m_pool);
        QVERIFY2(compositor(), "KWin grants its window list through the desktop entry");
        QVERIFY(m_log.lines.isEmpty());
    }

    void init() { m_log.lines.clear(); }

    void identifiesEachClientOnce_data() {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<QString>("bundleID");
        QTest::addColumn<QString>("name");
        QTest::addColumn<Rule>("rule");
        QTest::newRow("gnome-calculator on GTK 4's Wayland backend, its app_id stating its entry")
            << QStringList{"gnome-calculator"} << QStringList{"GDK_BACKEND=wayland"}
            << "org.gnome.Calculator"
            << "Calculator" << Rule::statedId;
        QTest::newRow("mousepad on GTK 3's Wayland backend, by the last part of its entry's id")
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
        const qint64 pid = m_kwin->start(command.takeFirst(), command, extra);
        QVERIFY(pid > 0);
        const auto application = waitForProcess(pid);
        QVERIFY2(application, "the client is listed with its own pid");
        QCOMPARE(application->bundleIdentifier(), bundleID);
        QCOMPARE(application->localizedName(), name);
        QCOMPARE(application->match().rule, rule);
        QCOMPARE(application->activationPolicy(), RunningApplication::ActivationPolicy::Regular);
        QTRY_COMPARE(launched.count(), 1);
        QCOMPARE(launched.first().first().value<RunningApplicationPtr>(), application);
        // No window of it is listed twice, by the compositor and by Xwayland.
        QTest::qWait(200);
        QCOMPARE(countOf(pid), 1);
        QCOMPARE(application->windows().size(), size_t(1));
    }

    void quitClosesCalculatorAndAsksMousepad() {
        const auto calculator = applicationsWithId("org.gnome.Calculator").value(0);
        QVERIFY(calculator);
        QVERIFY(calculator->terminate());
        QTRY_VERIFY_WITH_TIMEOUT(calculator->isTerminated(), programStartMs);

        const auto mousepad = applicationsWithId("org.xfce.mousepad").value(0);
        QVERIFY(mousepad);
        activate(*mousepad);
        FakeKeyboard keyboard;
        QVERIFY2(keyboard.isReady(), "KWin grants its fake keyboard through the desktop entry");
        // Keys typed before KWin has focused it go elsewhere: type until it shows them.
        QVERIFY(QTest::qWaitFor(
            [&] {
                keyboard.type("unsaved words");
                return mousepad->windows().front().title.startsWith('*');
            },
            programStartMs));
        QVERIFY(mousepad->terminate());
        // It asks in a dialog of its own, which serves its window, and runs on.
        QTRY_COMPARE_WITH_TIMEOUT(mousepad->windows().size(), size_t(2), programStartMs);
        QVERIFY(mousepad->windows().back().transientFor == mousepad->windows().front().id);
        QTest::qWait(500);
        QVERIFY(!mousepad->isTerminated());
        QVERIFY(m_log.lines.isEmpty());
    }

    void neverClosesAnXwaylandWindowThatCannotBeAsked() {
        const qint64 pid = m_kwin->start(QUELLORY_BARE_WINDOW);
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
            m_kwin->start(QUELLORY_QT_WINDOW, {"org.example.Hiding", "1500"}, onWayland);
        const auto hiding = waitForProcess(pid);
        QVERIFY(hiding);
        QSignalSpy terminated(m_workspace.get(), &Workspace::didTerminateApplication);
        qint64 sinceUnmappedMs = -1;
        // Connected for this test only: the lambda writes to this function's frame.
        QObject thisTest;
        connect(m_workspace.get(), &Workspace::didTerminateApplication, &thisTest,
                [&] { sinceUnmappedMs = compositor()->sinceLastUnmapped().elapsed(); });
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, programStartMs);
        QCOMPARE(terminated.first().first().value<RunningApplicationPtr>(), hiding);
        QVERIFY2(sinceUnmappedMs >= 0 && sinceUnmappedMs <= 50,
                 qPrintable(QString("left %1 ms after the unmapped event").arg(sinceUnmappedMs)));
        QVERIFY(!m_workspace->runningApplication(qint32(pid)));
        // The process runs on without a window.
        QVERIFY(!hiding->isTerminated());
    }

    void opensOnceAndThenActivates() {
        const QString path = applicationsFolder() + "/org.example.Opened.desktop";
        QVERIFY(applicationsWithId("org.example.Opened").isEmpty());
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
        QTRY_COMPARE_WITH_TIMEOUT(applicationsWithId("org.example.Opened").size(), 1,
                                  programStartMs);
        const auto opened = applicationsWithId("org.example.Opened").front();
        // KWin numbers titles that another window has too.
        const auto isActive = [&] { return opened->windows().front().title.contains("(active)"); };
        activate(*applicationsWithId("org.xfce.mousepad").front());
        QTRY_VERIFY(!isActive());
        QCOMPARE(open(), std::nullopt);
        QTRY_VERIFY(isActive());
        QTest::qWait(500);
        QCOMPARE(applicationsWithId("org.example.Opened").size(), 1);
    }

    // Without the entry KWin keeps its window list to itself: one line, and Xwayland's
    // programs only.
    void withoutTheEntryListsOnlyXwaylandPrograms() {
        const auto xterm = applicationsWithId("debian-xterm").value(0);
        const auto mousepad = applicationsWithId("org.xfce.mousepad").value(0);
        QVERIFY(xterm && mousepad);
        QVERIFY(QFile::remove(applicationsFolder() + "/quellory-tests.desktop"));
        RecordingLog log;
        std::unique_ptr<SessionWorkspace> refused;
        // KWin reads the entries again once it sees the folder change.
        QVERIFY(QTest::qWaitFor(
            [&] {
                log.lines.clear();
                refused = LinuxSession::workspace(*m_bundles, log, m_pool);
                return refused->sources().size() == 1;
            },
            programStartMs));
        QCOMPARE(log.lines, QStringList{"Quellory: the Wayland compositor offers no window list "
                                        "that Quellory can read; only X11 programs are listed"});
        QVERIFY(refused->runningApplication(xterm->processIdentifier()));
        QVERIFY(!refused->runningApplication(mousepad->processIdentifier()));
    }

    void compositorGoingAwayEmptiesTheList() {
        QVERIFY(!m_workspace->runningApplications().isEmpty());
        m_kwin->stop();
        QTRY_VERIFY_WITH_TIMEOUT(m_workspace->runningApplications().isEmpty(), programStartMs);
        QTest::qWait(200);
        QCOMPARE(m_log.lines.size(), 1);
        QVERIFY(m_log.lines.front().contains("Wayland compositor"));
        QVERIFY(m_workspace->runningApplications().isEmpty());
    }
};

QTEST_GUILESS_MAIN(KWinWorkspaceTest)
#include "tst_kwinworkspace.moc"
