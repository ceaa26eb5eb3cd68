#pragma once

#include "ApplicationMatcher.h"
#include "ClientWindowReader.h"
#include "DesktopEntryIndex.h"
#include "platform/Workspace.h"

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class ApplicationBundles;
class QThreadPool;
class SystemLog;
class X11Connection;
class X11RunningApplication;

// The running applications of an X11 session: one per process that owns windows the window
// manager manages, named after the desktop entry its windows lead to. It follows the server
// through events read in the Qt event loop: a process's first window is its launch, its last
// window gone or its exit is its termination. Without a window manager it falls back to the
// mapped windows on the root, and without an X server it lists nothing.
class X11Workspace final : public Workspace {
    Q_OBJECT
public:
    X11Workspace(const ApplicationBundles &bundles, SystemLog &log, QThreadPool &launchPool,
                 QObject *parent = nullptr);
    ~X11Workspace() override;

    QList<RunningApplicationPtr> runningApplications() override;
    RunningApplicationPtr runningApplication(qint32 processIdentifier) override;
    std::optional<QString> urlForApplication(const QString &bundleID) const override;
    void openApplication(const QString &path, OpenCompletion completion) override;

    // Round trips to the X server so far, for the benchmarks.
    std::uint64_t roundTrips() const;

private:
    using Handle = std::shared_ptr<X11RunningApplication>;

    void handleEvent(const xcb_generic_event_t &event);
    void watchRoot();
    void findWindowManager();
    void synchronize();
    bool readWindows(const std::vector<xcb_window_t> &windows);
    std::vector<std::pair<qint32, std::vector<ClientWindow>>> windowsByProcess() const;
    Handle adopt(qint32 processIdentifier, std::vector<ClientWindow> windows);
    ApplicationMatcher::Match matchOf(qint32 processIdentifier,
                                      const std::vector<ClientWindow> &windows,
                                      const ProcessFacts &facts) const;
    void watch(X11RunningApplication *application, const std::vector<ClientWindow> &windows);
    void applicationEnded(X11RunningApplication *application);
    void connectionLost();

    const ApplicationBundles &m_bundles;
    SystemLog &m_log;
    QThreadPool &m_launchPool;
    std::shared_ptr<X11Connection> m_connection;
    std::unique_ptr<ClientWindowReader> m_reader;
    DesktopEntryIndex m_index;
    ApplicationMatcher m_matcher;
    xcb_window_t m_managerCheck = XCB_NONE;
    bool m_needsSync = true;
    bool m_wasLost = false;
    std::vector<xcb_window_t> m_windowOrder;
    std::unordered_map<xcb_window_t, ClientWindow> m_windows;
    std::unordered_set<xcb_window_t> m_changedWindows;
    std::unordered_map<qint32, ProcessFacts> m_facts;
    // In the order in which they appeared.
    std::vector<Handle> m_applications;
    // Processes that still run but have no window now, until they end.
    std::unordered_map<qint32, Handle> m_dormant;
};
