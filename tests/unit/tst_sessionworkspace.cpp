#include "fakes/FakeApplicationBundles.h"
#include "platform/linux/session/SessionRunningApplication.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "platform/linux/session/WindowSource.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

namespace {

ClientWindow windowOf(qint64 processIdentifier, quint64 id, const QString &appId,
                      bool acceptsDelete = true) {
    ClientWindow window;
    window.id = id;
    window.processIdentifier = qint32(processIdentifier);
    window.appId = window.className = appId;
    window.acceptsDelete = acceptsDelete;
    return window;
}

} // namespace

// A window system whose windows the test sets; it records the requests made of them.
class FakeWindowSource final : public WindowSource {
    Q_OBJECT
public:
    QList<quint64> closeRequests, activations;

    // Replaces the windows, as a window system's events would, and tells the workspace.
    void show(std::vector<ClientWindow> windows) {
        for (ClientWindow &window : windows)
            window.source = this;
        m_windows = std::move(windows);
        emit windowsChanged();
    }

    const std::vector<ClientWindow> &windows() const override { return m_windows; }
    bool requestClose(const ClientWindow &window) override {
        closeRequests.append(window.id);
        return true;
    }
    void activate(const ClientWindow &window) override { activations.append(window.id); }

private:
    std::vector<ClientWindow> m_windows;
};

// One handle per process across the window systems of a session, over simulated sources and
// real processes (the handles hold pidfds).
class SessionWorkspaceTest : public QObject {
    Q_OBJECT

private:
    FakeApplicationBundles m_bundles;
    QThreadPool m_pool;
    QProcess m_first, m_second;
    std::unique_ptr<SessionWorkspace> m_workspace;
    FakeWindowSource *m_x11 = nullptr, *m_compositor = nullptr;

    // A workspace whose X11 source comes first, as on a Wayland session.
    void startWorkspace(std::vector<ClientWindow> x11, std::vector<ClientWindow> compositor) {
        m_workspace = std::make_unique<SessionWorkspace>(m_bundles, m_pool);
        auto x11Source = std::make_unique<FakeWindowSource>();
        auto compositorSource = std::make_unique<FakeWindowSource>();
        m_x11 = x11Source.get();
        m_compositor = compositorSource.get();
        m_x11->show(std::move(x11));
        m_compositor->show(std::move(compositor));
        m_workspace->addSource(std::move(x11Source));
        m_workspace->addSource(std::move(compositorSource));
        m_workspace->start();
    }
    auto handle(qint64 processIdentifier) {
        return std::dynamic_pointer_cast<SessionRunningApplication>(
            m_workspace->runningApplication(qint32(processIdentifier)));
    }

private slots:
    void initTestCase() {
        for (QProcess *process : {&m_first, &m_second}) {
            process->start("sleep", {"600"});
            QVERIFY(process->waitForStarted());
        }
    }
    void cleanupTestCase() {
        for (QProcess *process : {&m_first, &m_second}) {
            process->terminate();
            process->waitForFinished();
        }
    }

    void whatRunsAtTheFirstReadIsNoLaunch() {
        const qint64 first = m_first.processId(), second = m_second.processId();
        m_workspace = std::make_unique<SessionWorkspace>(m_bundles, m_pool);
        auto source = std::make_unique<FakeWindowSource>();
        FakeWindowSource *windows = source.get();
        windows->show({windowOf(first, 1, "first")});
        m_workspace->addSource(std::move(source));
        QSignalSpy launches(m_workspace.get(), &Workspace::didLaunchApplication);
        m_workspace->start();
        QVERIFY(handle(first));
        QCOMPARE(launches.count(), 0);

        windows->show({windowOf(first, 1, "first"), windowOf(second, 2, "second")});
        QCOMPARE(launches.count(), 1);
        QCOMPARE(launches.front().front().value<RunningApplicationPtr>(), handle(second));
    }

    void oneHandlePerProcessAcrossSourcesAndTheFirstSourceKeepsIt() {
        const qint64 first = m_first.processId(), second = m_second.processId();
        // The compositor lists the Xwayland window of `first` too, and a window of no process.
        startWorkspace(
            {windowOf(first, 7, "XTerm", false)},
            {windowOf(first, 1, "XTerm"), windowOf(second, 2, "foot"), windowOf(0, 3, "unknown")});
        QCOMPARE(m_workspace->runningApplications().size(), 2);
        const auto xterm = handle(first), foot = handle(second);
        QCOMPARE(xterm->windows().size(), size_t(1));
        QCOMPARE(xterm->windows().front().source, m_x11);
        // Its one window does not accept a close request: nothing is asked of anyone, the
        // compositor least of all, whose close would kill it.
        QVERIFY(!xterm->terminate());
        QVERIFY(m_x11->closeRequests.isEmpty() && m_compositor->closeRequests.isEmpty());
        QVERIFY(foot->terminate());
        QCOMPARE(m_compositor->closeRequests, QList<quint64>{2});
    }

    void handlesLastAsLongAsTheirWindowsAndDialogsJoinTheirParent() {
        const qint64 first = m_first.processId();
        startWorkspace({}, {windowOf(first, 1, "editor")});
        const auto editor = handle(first);
        ClientWindow dialog = windowOf(0, 2, "");
        dialog.transientFor = 1;
        m_compositor->show({windowOf(first, 1, "editor"), dialog});
        QCOMPARE(handle(first), editor);
        QCOMPARE(editor->windows().size(), size_t(2));

        QSignalSpy ends(m_workspace.get(), &Workspace::didTerminateApplication);
        m_compositor->show({});
        QCOMPARE(ends.count(), 1);
        QVERIFY(m_workspace->runningApplications().isEmpty());
        // The process runs on: its window coming back brings the same handle back.
        m_compositor->show({windowOf(first, 5, "editor")});
        QCOMPARE(handle(first), editor);
    }

    void opensWhatRunsByActivatingIt() {
        const qint64 first = m_first.processId();
        m_bundles.installedPaths.insert("editor", "/apps/editor.desktop");
        startWorkspace({}, {windowOf(first, 4, "editor")});
        QCOMPARE(handle(first)->bundleIdentifier(), "editor");
        bool answered = false;
        m_workspace->openApplication("/apps/editor.desktop",
                                     [&](const std::optional<QString> &error) {
                                         QCOMPARE(error, std::nullopt);
                                         answered = true;
                                     });
        QVERIFY(answered);
        QCOMPARE(m_compositor->activations, QList<quint64>{4});
    }
};

QTEST_GUILESS_MAIN(SessionWorkspaceTest)
#include "tst_sessionworkspace.moc"
