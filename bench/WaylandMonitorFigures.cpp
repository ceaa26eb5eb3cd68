#include "WaylandMonitorFigures.h"

#include "BenchFigures.h"
#include "fakes/MemoryDefaultsStore.h"
#include "models/AppUsageStore.h"
#include "models/EventLoopScheduler.h"
#include "models/SystemClock.h"
#include "models/WindowMonitor.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "platform/linux/session/StandardErrorLog.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WlrForeignToplevelSource.h"
#include "session/SwaySession.h"

#include <chrono>
#include <cstdio>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThreadPool>
#include <vector>

namespace {

constexpr int clientCount = 5;
constexpr int quickRounds = 101;
constexpr int closeRounds = 15;
constexpr int waitMs = 15000;

using Stopwatch = std::chrono::steady_clock;

double microsecondsSince(Stopwatch::time_point start) {
    return std::chrono::duration<double, std::micro>(Stopwatch::now() - start).count();
}

bool runLoopUntil(const std::function<bool()> &isDone) {
    QDeadlineTimer deadline(waitMs);
    while (!isDone()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    }
    return true;
}

qsizetype listedCount(WindowMonitor &monitor) {
    monitor.refresh();
    return monitor.runningApps().size();
}

QProcessEnvironment onWayland() {
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    return environment;
}

} // namespace

bool WaylandMonitorFigures::print(const QString &qtWindowProgram) {
    SwaySession sway;
    if (!sway.isReady()) {
        std::fprintf(stderr, "sway did not start headless\n");
        return false;
    }
    auto connection = std::shared_ptr<WaylandConnection>(WaylandConnection::open());
    StandardErrorLog log;
    auto source = connection ? WlrForeignToplevelSource::listen(connection, log) : nullptr;
    if (!source) {
        std::fprintf(stderr, "sway offers no foreign toplevels\n");
        return false;
    }
    const WlrForeignToplevelSource &toplevels = *source;
    DesktopEntryApplications bundles;
    QThreadPool launchPool;
    MemoryDefaultsStore defaults;
    SystemClock clock;
    EventLoopScheduler scheduler;
    AppUsageStore usage(defaults, clock, bundles.mainBundleIdentifier());
    SessionWorkspace workspace(bundles, launchPool);
    workspace.addSource(std::move(source));
    workspace.start();
    WindowMonitor monitor(workspace, usage, scheduler);
    monitor.startObserving();
    for (int i = 0; i < clientCount; ++i)
        sway.start(qtWindowProgram, {QStringLiteral("org.bench.Client%1").arg(i)}, onWayland());
    if (!runLoopUntil([&] { return listedCount(monitor) == clientCount; })) {
        std::fprintf(stderr, "the clients' toplevels did not appear\n");
        return false;
    }

    std::vector<double> noChange, roundTrip;
    for (int round = 0; round < quickRounds; ++round) {
        QCoreApplication::processEvents();
        auto start = Stopwatch::now();
        monitor.refresh();
        noChange.push_back(microsecondsSince(start));
        start = Stopwatch::now();
        connection->roundtrip();
        roundTrip.push_back(microsecondsSince(start));
    }

    std::vector<double> closeEvent, closeToUpdate;
    for (int round = 0; round < closeRounds; ++round) {
        const qint64 pid =
            sway.start(qtWindowProgram, {QStringLiteral("org.bench.Closing")}, onWayland());
        RunningApplicationPtr closing;
        if (!runLoopUntil([&] {
                monitor.refresh();
                return (closing = workspace.runningApplication(qint32(pid))) != nullptr;
            }))
            continue;
        std::optional<Stopwatch::time_point> updateTime;
        auto updated = QObject::connect(&monitor, &WindowMonitor::runningAppsChanged, [&] {
            if (!updateTime && !monitor.runningApps().contains(closing))
                updateTime = Stopwatch::now();
        });
        const auto requestTime = Stopwatch::now();
        closing->terminate();
        const bool isGone = runLoopUntil([&] { return updateTime.has_value(); });
        QObject::disconnect(updated);
        if (!isGone)
            continue;
        // The closed event was read this long before the list changed.
        const double sinceEventMs =
            double(toplevels.sinceLastClosed().nsecsElapsed()) / 1e6 -
            std::chrono::duration<double, std::milli>(Stopwatch::now() - *updateTime).count();
        const double requestToUpdateMs =
            std::chrono::duration<double, std::milli>(*updateTime - requestTime).count();
        closeToUpdate.push_back(sinceEventMs);
        closeEvent.push_back(requestToUpdateMs - sinceEventMs);
        runLoopUntil([&] { return closing->isTerminated(); });
    }

    BenchFigures::print("wayland_refresh_nochange_us", BenchFigures::median(noChange), "us");
    BenchFigures::print("wayland_baseline_roundtrip_us", BenchFigures::median(roundTrip), "us");
    BenchFigures::print("wayland_close_to_update_ms", BenchFigures::median(closeToUpdate), "ms");
    BenchFigures::print("wayland_baseline_close_request_to_event_ms",
                        BenchFigures::median(closeEvent), "ms");
    BenchFigures::print("wayland_close_rounds", double(closeToUpdate.size()), "rounds");
    return !closeToUpdate.empty();
}
