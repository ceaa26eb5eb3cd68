#pragma once

#include "session/HeadlessCompositor.h"
#include "session/WorkspaceFixture.h"

#include <QSignalSpy>

using Rule = ApplicationMatcher::Rule;
Q_DECLARE_METATYPE(Rule)

// What the workspace of a Wayland session does on every compositor that offers a window list:
// native clients through the compositor, X11 clients through the X11 code, each once. Each
// compositor's test runs these in its own order, the compositor going away last.
class WaylandWorkspaceChecks : protected WorkspaceFixture {
protected:
    virtual ~WaylandWorkspaceChecks() = default;
    virtual HeadlessCompositor &session() = 0;
    // When the compositor last told of a toplevel that went.
    virtual const QElapsedTimer &sinceAToplevelLeft() const = 0;
    virtual void type(const QString &text) = 0;

    // A Qt window behind an entry of its own, under a name of its own: the same program by its
    // own name would be this entry's by its command line wherever it runs.
    bool writeOpenedEntry() {
        const QString opened = m_root.filePath("opened-window");
        writeEntry("org.example.Opened", "Name=Opened\nExec=env QT_QPA_PLATFORM=wayland " +
                                             opened.toUtf8() + " org.example.Opened\n");
        return QFile::link(QStringLiteral(QUELLORY_QT_WINDOW), opened);
    }
    template <typename Source> const Source *compositorSource() const {
        for (const auto &source : m_workspace->sources())
            if (const auto *found = qobject_cast<const Source *>(source.get()))
                return found;
        return nullptr;
    }
    static void activate(const SessionRunningApplication &application) {
        const ClientWindow &window = application.windows().front();
        window.source->activate(window);
    }

    static void identityColumns() {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QString>("bundleID");
        QTest::addColumn<QString>("name");
        QTest::addColumn<Rule>("rule");
    }
    static void qtAndXtermRows() {
        QTest::newRow("a Qt 6 program on Wayland, named after its app_id")
            << QStringList{QUELLORY_QT_WINDOW, "org.example.QtWindow"} << "QT_QPA_PLATFORM=wayland"
            << "org.example.QtWindow"
            << "org.example.QtWindow" << Rule::windowClass;
        QTest::newRow("xterm on Xwayland, through the X11 code") << QStringList{"xterm"} << ""
                                                                 << "debian-xterm"
                                                                 << "XTerm" << Rule::startupWMClass;
    }
    void identifiesEachClientOnce() {
        QFETCH(QStringList, command);
        QFETCH(QString, environment);
        QFETCH(Rule, rule);
        QProcessEnvironment extra;
        if (!environment.isEmpty())
            extra.insert(environment.section('=', 0, 0), environment.section('=', 1));
        QSignalSpy launched(m_workspace.get(), &Workspace::didLaunchApplication);
        const qint64 pid = session().start(command.takeFirst(), command, extra);
        QVERIFY(pid > 0);
        const auto application = waitForProcess(pid);
        QVERIFY2(application, "the client is listed with its own pid");
        QTEST(application->bundleIdentifier().value_or(QString()), "bundleID");
        QTEST(application->localizedName().value_or(QString()), "name");
        QCOMPARE(application->match().rule, rule);
        QCOMPARE(application->activationPolicy(), RunningApplication::ActivationPolicy::Regular);
        QTRY_COMPARE(launched.count(), 1);
        QCOMPARE(launched.first().first().value<RunningApplicationPtr>(), application);
        // No window of it is listed twice, by the compositor and by Xwayland.
        QTest::qWait(200);
        QCOMPARE(countOf(pid), 1);
        QCOMPARE(application->windows().size(), size_t(1));
    }

    // The first closes; mousepad, with unsaved words, asks in a dialog of its own and runs on.
    void quitClosesOneAndAsksMousepad(const QString &closes) {
        const auto first = applicationsWithId(closes).value(0);
        QVERIFY(first);
        QVERIFY(first->terminate());
        QTRY_VERIFY_WITH_TIMEOUT(first->isTerminated(), programStartMs);

        const auto mousepad = applicationsWithId("org.xfce.mousepad").value(0);
        QVERIFY(mousepad);
        activate(*mousepad);
        // Keys typed before the compositor has focused it go elsewhere: type until it shows them.
        QVERIFY(QTest::qWaitFor(
            [&] {
                type("unsaved words");
                return mousepad->windows().front().title.startsWith('*');
            },
            programStartMs));
        QVERIFY(mousepad->terminate());
        QTRY_COMPARE_WITH_TIMEOUT(mousepad->windows().size(), size_t(2), programStartMs);
        QTest::qWait(500);
        QVERIFY(!mousepad->isTerminated());
        QVERIFY(m_log.lines.isEmpty());
    }

    void neverClosesAnXwaylandWindowThatCannotBeAsked() {
        const qint64 pid = session().start(QUELLORY_BARE_WINDOW);
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
            session().start(QUELLORY_QT_WINDOW, {"org.example.Hiding", "1500"}, onWayland);
        const auto hiding = waitForProcess(pid);
        QVERIFY(hiding);
        QSignalSpy terminated(m_workspace.get(), &Workspace::didTerminateApplication);
        qint64 sinceLeftMs = -1;
        // Connected for this test only: the lambda writes to this function's frame.
        QObject thisTest;
        QObject::connect(m_workspace.get(), &Workspace::didTerminateApplication, &thisTest,
                         [&] { sinceLeftMs = sinceAToplevelLeft().elapsed(); });
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, programStartMs);
        QCOMPARE(terminated.first().first().value<RunningApplicationPtr>(), hiding);
        QVERIFY2(sinceLeftMs >= 0 && sinceLeftMs <= 50,
                 qPrintable(QString("left %1 ms after the compositor's event").arg(sinceLeftMs)));
        QVERIFY(!m_workspace->runningApplication(qint32(pid)));
        // The process runs on without a window.
        QVERIFY(!hiding->isTerminated());
    }

    void opensOnceAndThenActivates() {
        const QString id = "org.example.Opened";
        QVERIFY(applicationsWithId(id).isEmpty());
        const auto open = [&] {
            std::optional<QString> error = QStringLiteral("no answer");
            bool answered = false;
            m_workspace->openApplication(
                applicationsFolder() + '/' + id + ".desktop", [&](const std::optional<QString> &e) {
                    QMetaObject::invokeMethod(m_workspace.get(),
                                              [&, e] { error = e, answered = true; });
                });
            [[maybe_unused]] const bool ok = QTest::qWaitFor([&] { return answered; }, 5000);
            return error;
        };
        QCOMPARE(open(), std::nullopt);
        QTRY_COMPARE_WITH_TIMEOUT(applicationsWithId(id).size(), 1, programStartMs);
        const auto opened = applicationsWithId(id).front();
        // The compositor may number titles that another window has too.
        const auto isActive = [&] { return opened->windows().front().title.contains("(active)"); };
        activate(*applicationsWithId("org.xfce.mousepad").front());
        QTRY_VERIFY(!isActive());
        QCOMPARE(open(), std::nullopt);
        QTRY_VERIFY(isActive());
        QTest::qWait(500);
        QCOMPARE(applicationsWithId(id).size(), 1);
    }

    void compositorGoingAwayEmptiesTheList() {
        QVERIFY(!m_workspace->runningApplications().isEmpty());
        session().stop();
        QTRY_VERIFY_WITH_TIMEOUT(m_workspace->runningApplications().isEmpty(), programStartMs);
        QTest::qWait(200);
        QCOMPARE(m_log.lines.size(), 1);
        QVERIFY(m_log.lines.front().contains("Wayland compositor"));
        QVERIFY(m_workspace->runningApplications().isEmpty());
    }
};
