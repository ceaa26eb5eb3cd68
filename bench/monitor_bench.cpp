// Times the window monitor over a real X server with openbox and 30 client windows of a few
// processes: a refresh when nothing changed, a refresh that finds a new process, and how soon a
// process's exit reaches the list. Prints medians over several rounds, beside the cost of bare
// round trips to the same server on a connection of the bench's own, measured in the same run;
// then the same on a headless sway (WaylandMonitorFigures).

#include "BenchFigures.h"
#include "models/AppUsageStore.h"
#include "models/EventLoopScheduler.h"
#include "models/SystemClock.h"
#include "models/WindowMonitor.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/freedesktop/SettingsFileDefaultsStore.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "platform/linux/session/StandardErrorLog.h"
#include "platform/linux/x11/X11WindowSource.h"
#include "session/XSession.h"
#include "WaylandMonitorFigures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <functional>
#include <optional>
#include <poll.h>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimer>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/res.h>
#include <xcb/xcb.h>

namespace {

constexpr int processCount = 3;
constexpr int windowsPerProcess = 10;
constexpr int quickRounds = 101;
constexpr int processRounds = 15;
// Each process started in a round leaves on its own after this long.
constexpr int lifetimeMs = 1000;
constexpr int waitMs = 10000;

using Stopwatch = std::chrono::steady_clock;

double microsecondsSince(Stopwatch::time_point start) {
    return std::chrono::duration<double, std::micro>(Stopwatch::now() - start).count();
}

// The bench's own connection: it sees the server without the Qt event loop running, and it
// times bare round trips.
class RawConnection {
public:
    RawConnection() : m_connection(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(m_connection))
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const char name[] = "_NET_CLIENT_LIST";
        const auto atom = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, sizeof name - 1, name), nullptr);
        m_clientList = atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
        free(atom);
        const auto *resource = xcb_get_extension_data(m_connection, &xcb_res_id);
        m_hasResourceExtension = resource && resource->present;
    }
    ~RawConnection() { xcb_disconnect(m_connection); }
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    bool isReady() const {
        return !xcb_connection_has_error(m_connection) && m_clientList != XCB_ATOM_NONE &&
               m_hasResourceExtension;
    }

    // The window manager's client list: the same request a refresh makes, one round trip.
    std::vector<xcb_window_t> managedWindows() {
        const auto cookie = xcb_get_property(m_connection, 0, m_root, m_clientList, XCB_ATOM_WINDOW,
                                             0, UINT32_MAX / 4);
        xcb_get_property_reply_t *reply = xcb_get_property_reply(m_connection, cookie, nullptr);
        std::vector<xcb_window_t> windows;
        if (reply && reply->format == 32) {
            const auto *first = static_cast<const xcb_window_t *>(xcb_get_property_value(reply));
            windows.assign(first, first + xcb_get_property_value_length(reply) / 4);
        }
        free(reply);
        return windows;
    }

    // As many requests about one window as the workspace sends for a window it has not seen:
    // eleven properties and the owning client's pid, pipelined into one round trip.
    void readWindow(xcb_window_t window) {
        static constexpr std::array<xcb_atom_t, 11> properties{
            XCB_ATOM_WM_CLASS,          XCB_ATOM_WM_NAME,         XCB_ATOM_WM_ICON_NAME,
            XCB_ATOM_WM_HINTS,          XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_TRANSIENT_FOR,
            XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_WM_COMMAND,      XCB_ATOM_WM_ICON_SIZE,
            XCB_ATOM_WM_SIZE_HINTS,     XCB_ATOM_WM_ZOOM_HINTS};
        std::array<xcb_get_property_cookie_t, properties.size()> cookies{};
        for (size_t i = 0; i < properties.size(); ++i)
            cookies[i] = xcb_get_property(m_connection, 0, window, properties[i],
                                          XCB_GET_PROPERTY_TYPE_ANY, 0, 256);
        const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        const auto clientIds = xcb_res_query_client_ids(m_connection, 1, &spec);
        for (const auto cookie : cookies)
            free(xcb_get_property_reply(m_connection, cookie, nullptr));
        free(xcb_res_query_client_ids_reply(m_connection, clientIds, nullptr));
    }

private:
    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_NONE;
    xcb_atom_t m_clientList = XCB_ATOM_NONE;
    bool m_hasResourceExtension = false;
};

// Sees a process end apart from the Qt event loop: a thread of its own waits on a pidfd and
// notes the moment it becomes readable.
class ExitWatch {
public:
    explicit ExitWatch(qint64 processIdentifier)
        : m_pidfd(processIdentifier > 0 ? int(syscall(SYS_pidfd_open, pid_t(processIdentifier), 0))
                                        : -1) {
        if (m_pidfd >= 0)
            m_thread = std::thread([this] {
                pollfd ended{m_pidfd, POLLIN, 0};
                while (poll(&ended, 1, -1) < 0 && errno == EINTR) {
                }
                m_exitTime = Stopwatch::now();
            });
    }
    ~ExitWatch() {
        if (m_thread.joinable())
            m_thread.join();
        if (m_pidfd >= 0)
            close(m_pidfd);
    }
    ExitWatch(const ExitWatch &) = delete;
    ExitWatch &operator=(const ExitWatch &) = delete;

    int pidfd() const { return m_pidfd; }
    bool hasExited() const {
        pollfd ended{m_pidfd, POLLIN, 0};
        return poll(&ended, 1, 0) > 0;
    }
    // Waits for the process to end.
    Stopwatch::time_point exitTime() {
        if (m_thread.joinable())
            m_thread.join();
        return m_exitTime;
    }

private:
    int m_pidfd;
    std::thread m_thread;
    Stopwatch::time_point m_exitTime;
};

// Without the event loop: nothing the workspace has been sent is read meanwhile.
bool waitBlocked(const std::function<bool()> &isDone) {
    const QDeadlineTimer deadline(waitMs);
    while (!isDone()) {
        if (deadline.hasExpired())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

bool runLoopUntil(const std::function<bool()> &isDone, int timeoutMs = waitMs) {
    const QDeadlineTimer deadline(timeoutMs);
    QTimer wake;
    wake.start(10);
    while (!isDone()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Lets the window manager finish with the windows and the workspace read what it was told.
void settle() {
    QEventLoop loop;
    QTimer::singleShot(100, &loop, &QEventLoop::quit);
    loop.exec();
}

bool isListed(const WindowMonitor &monitor, qint64 processIdentifier) {
    return std::any_of(
        monitor.runningApps().begin(), monitor.runningApps().end(),
        [&](const auto &app) { return app->processIdentifier() == processIdentifier; });
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QTemporaryDir tree;
    const QDir root(tree.path());
    if (!tree.isValid() || !root.mkpath(QStringLiteral("data/applications")) ||
        !root.mkpath(QStringLiteral("system")) || !root.mkpath(QStringLiteral("config"))) {
        std::fprintf(stderr, "could not make the XDG folders\n");
        return 1;
    }
    XSession session;
    if (!session.isReady()) {
        std::fprintf(stderr, "Xvfb and openbox did not start\n");
        return 1;
    }
    // Only the bench reads the empty tree: the session's programs keep the environment it
    // started with, where openbox finds its theme.
    qputenv("XDG_DATA_HOME", root.filePath(QStringLiteral("data")).toUtf8());
    qputenv("XDG_DATA_DIRS", root.filePath(QStringLiteral("system")).toUtf8());
    qputenv("XDG_CONFIG_HOME", root.filePath(QStringLiteral("config")).toUtf8());
    RawConnection raw;
    if (!raw.isReady()) {
        std::fprintf(stderr, "cannot reach the X server with the X-Resource extension\n");
        return 1;
    }
    const QString bareWindow = QStringLiteral(BARE_WINDOW_PATH);
    for (int i = 0; i < processCount; ++i)
        session.start(bareWindow, {QString::number(windowsPerProcess)});
    constexpr size_t windowCount = processCount * windowsPerProcess;
    if (!waitBlocked([&] { return raw.managedWindows().size() == windowCount; })) {
        std::fprintf(stderr, "the client windows did not appear\n");
        return 1;
    }

    DesktopEntryApplications bundles;
    StandardErrorLog log;
    QThreadPool launchPool;
    SettingsFileDefaultsStore defaults(root.filePath(QStringLiteral("config/usage.conf")));
    SystemClock clock;
    EventLoopScheduler scheduler;
    AppUsageStore usage(defaults, clock, bundles.mainBundleIdentifier());
    SessionWorkspace workspace(bundles, launchPool);
    auto x11Source = std::make_unique<X11WindowSource>(log, X11WindowSource::Server::session);
    const X11WindowSource &x11 = *x11Source;
    workspace.addSource(std::move(x11Source));
    workspace.start();
    WindowMonitor monitor(workspace, usage, scheduler);
    monitor.startObserving();
    monitor.refresh();
    settle();
    if (monitor.runningApps().size() != processCount) {
        std::fprintf(stderr, "the monitor lists %lld applications, not %d\n",
                     static_cast<long long>(monitor.runningApps().size()), processCount);
        return 1;
    }
    const xcb_window_t someWindow = raw.managedWindows().front();

    std::vector<double> getProperty, readWindow, noChange, noChangeRoundTrips;
    for (int round = 0; round < quickRounds; ++round) {
        QCoreApplication::processEvents();
        auto start = Stopwatch::now();
        raw.managedWindows();
        getProperty.push_back(microsecondsSince(start));
        start = Stopwatch::now();
        raw.readWindow(someWindow);
        readWindow.push_back(microsecondsSince(start));
        const std::uint64_t roundTrips = x11.roundTrips();
        start = Stopwatch::now();
        monitor.refresh();
        noChange.push_back(microsecondsSince(start));
        noChangeRoundTrips.push_back(double(x11.roundTrips() - roundTrips));
    }

    // Set once a watched process has left the monitor's list.
    qint64 watched = 0;
    std::optional<Stopwatch::time_point> updateTime;
    QObject::connect(&monitor, &WindowMonitor::runningAppsChanged, [&] {
        if (watched > 0 && !updateTime && !isListed(monitor, watched))
            updateTime = Stopwatch::now();
    });
    std::vector<double> change, changeRoundTrips, exitToUpdate, exitToNotifier;
    for (int round = 0; round < processRounds; ++round) {
        // The last round's process is gone from the server and the workspace has caught up.
        if (!runLoopUntil([&] { return raw.managedWindows().size() == windowCount; })) {
            std::fprintf(stderr, "round %d: a window of the last round stayed\n", round);
            continue;
        }
        settle();
        watched = 0;
        updateTime.reset();

        const qint64 pid =
            session.start(bareWindow, {QStringLiteral("1"), QString::number(lifetimeMs)});
        ExitWatch exitWatch(pid);
        // From here until the refresh is timed the event loop does not run, so the workspace
        // reads nothing of the new window itself: the refresh is the first to see it.
        if (exitWatch.pidfd() < 0 ||
            !waitBlocked([&] { return raw.managedWindows().size() == windowCount + 1; }) ||
            workspace.runningApplication(qint32(pid)) || exitWatch.hasExited()) {
            std::fprintf(stderr, "round %d: the new process was not up in time\n", round);
            continue;
        }
        // Timed: the one refresh that finds the new process, as a refresh timer's would. It reads
        // the client list and the new window, opens the process's pidfd and /proc facts,
        // matches it, and publishes; the launch notification the workspace sends from inside
        // it makes the monitor refresh once more (one further client list read), which is
        // counted here too.
        const std::uint64_t roundTrips = x11.roundTrips();
        const auto start = Stopwatch::now();
        monitor.refresh();
        const double elapsed = microsecondsSince(start);
        if (!isListed(monitor, pid)) {
            std::fprintf(stderr, "round %d: the refresh did not list the new process\n", round);
            continue;
        }
        change.push_back(elapsed);
        changeRoundTrips.push_back(double(x11.roundTrips() - roundTrips));

        // No refresh timer runs: only the workspace's own notifications update the list. A
        // notifier on the same pidfd shows how soon the event loop itself hears of the exit.
        watched = pid;
        std::optional<Stopwatch::time_point> notifiedTime;
        QSocketNotifier notifier(exitWatch.pidfd(), QSocketNotifier::Read);
        QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
            notifier.setEnabled(false);
            notifiedTime = Stopwatch::now();
        });
        if (!runLoopUntil([&] { return updateTime && notifiedTime; }, lifetimeMs + waitMs)) {
            std::fprintf(stderr, "round %d: the list did not drop the process that ended\n", round);
            continue;
        }
        const Stopwatch::time_point exitTime = exitWatch.exitTime();
        exitToUpdate.push_back(
            std::chrono::duration<double, std::milli>(*updateTime - exitTime).count());
        exitToNotifier.push_back(
            std::chrono::duration<double, std::milli>(*notifiedTime - exitTime).count());
    }

    BenchFigures::print("refresh_nochange_us", BenchFigures::median(noChange), "us");
    BenchFigures::print("refresh_nochange_roundtrips", BenchFigures::median(noChangeRoundTrips),
                        "roundtrips");
    BenchFigures::print("refresh_nochange_roundtrips_max",
                        *std::max_element(noChangeRoundTrips.begin(), noChangeRoundTrips.end()),
                        "roundtrips");
    BenchFigures::print("refresh_change_us", BenchFigures::median(change), "us");
    BenchFigures::print("refresh_change_roundtrips", BenchFigures::median(changeRoundTrips),
                        "roundtrips");
    BenchFigures::print("exit_to_update_ms", BenchFigures::median(exitToUpdate), "ms");
    BenchFigures::print("baseline_get_property_us", BenchFigures::median(getProperty), "us");
    BenchFigures::print("baseline_read_window_us", BenchFigures::median(readWindow), "us");
    BenchFigures::print("baseline_exit_to_notifier_ms", BenchFigures::median(exitToNotifier), "ms");
    BenchFigures::print("windows", double(windowCount), "windows");
    BenchFigures::print("change_rounds", double(change.size()), "rounds");
    return WaylandMonitorFigures::print(QStringLiteral(QT_WINDOW_PATH)) ? 0 : 1;
}
