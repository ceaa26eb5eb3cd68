#pragma once

#include "ApplicationMatcher.h"
#include "DesktopEntryIndex.h"
#include "platform/Workspace.h"

#include <memory>
#include <unordered_map>
#include <vector>

class ApplicationBundles;
class QThreadPool;
class SessionRunningApplication;
class WindowSource;

// The running applications of a desktop session, whatever window systems show their windows:
// one per process that owns top-level windows, named after the desktop entry its windows lead
// to. A process's first window is its launch, its last window gone or its exit its termination;
// the applications that run when the session is first read are not launches. Where two sources
// show windows of one process (a compositor lists its Xwayland clients too), the first source
// added keeps them, so that no window is listed twice.
class SessionWorkspace final : public Workspace {
    Q_OBJECT
public:
    SessionWorkspace(const ApplicationBundles &bundles, QThreadPool &launchPool,
                     QObject *parent = nullptr);
    ~SessionWorkspace() override;

    // Adds a window system; call before start(), the one that closes X11 windows first.
    void addSource(std::unique_ptr<WindowSource> source);
    // Reads every source once: what runs now.
    void start();
    const std::vector<std::unique_ptr<WindowSource>> &sources() const { return m_sources; }

    QList<RunningApplicationPtr> runningApplications() override;
    RunningApplicationPtr runningApplication(qint32 processIdentifier) override;
    std::optional<QString> urlForApplication(const QString &bundleID) const override;
    void openApplication(const QString &path, OpenCompletion completion) override;

private:
    using Handle = std::shared_ptr<SessionRunningApplication>;
    using ProcessWindows = std::pair<qint32, std::vector<ClientWindow>>;

    void synchronize();
    std::vector<ProcessWindows> windowsByProcess() const;
    Handle adopt(qint32 processIdentifier, std::vector<ClientWindow> windows);
    ApplicationMatcher::Match matchOf(qint32 processIdentifier,
                                      const std::vector<ClientWindow> &windows,
                                      const ProcessFacts &facts) const;
    void watch(SessionRunningApplication *application, const std::vector<ClientWindow> &windows);
    void applicationEnded(SessionRunningApplication *application);

    const ApplicationBundles &m_bundles;
    QThreadPool &m_launchPool;
    std::vector<std::unique_ptr<WindowSource>> m_sources;
    DesktopEntryIndex m_index;
    ApplicationMatcher m_matcher;
    bool m_hasRead = false;
    std::unordered_map<qint32, ProcessFacts> m_facts;
    // In the order in which they appeared.
    std::vector<Handle> m_applications;
    // Processes that still run but have no window now, until they end.
    std::unordered_map<qint32, Handle> m_dormant;
};
