#include "WindowMonitor.h"

#include "AppEnvironment.h"
#include "AppUsageStore.h"
#include "platform/Workspace.h"
#include "Scheduler.h"

#include <algorithm>
#include <QSet>

namespace {

QSet<qint32> processIdentifiers(const QList<RunningApplicationPtr> &apps) {
    QSet<qint32> pids;
    for (const auto &app : apps)
        pids.insert(app->processIdentifier());
    return pids;
}

} // namespace

WindowMonitor::WindowMonitor(Workspace &workspace, AppUsageStore &usage, Scheduler &scheduler,
                             QObject *parent)
    : QObject(parent), m_workspace(workspace), m_usage(usage), m_scheduler(scheduler) {}

WindowMonitor::~WindowMonitor() = default;

WindowMonitor &WindowMonitor::shared() {
    static auto *monitor = [] {
        const auto &environment = AppEnvironment::current();
        return new WindowMonitor(*environment.workspace, AppUsageStore::shared(),
                                 *environment.scheduler);
    }();
    return *monitor;
}

void WindowMonitor::startObserving() {
    // What runs before the monitor starts is seeded, not launched: a workspace that reports
    // its first read as launches must not count them at every start of the program.
    for (const auto &app : m_workspace.runningApplications())
        m_launchedProcesses.insert(app->processIdentifier(), app);
    m_workspaceObservers.append(connect(&m_workspace, &Workspace::didLaunchApplication, this,
                                        &WindowMonitor::applicationDidLaunch));
    m_workspaceObservers.append(
        connect(&m_workspace, &Workspace::didTerminateApplication, this, [this] { refresh(); }));
}

void WindowMonitor::applicationDidLaunch(const RunningApplicationPtr &application) {
    // Helpers and agents are not uses of an application.
    if (application && isNewProcess(application) &&
        application->activationPolicy() == RunningApplication::ActivationPolicy::Regular) {
        if (const auto bundleID = application->bundleIdentifier())
            m_scheduler.post(&m_usage,
                             [&usage = m_usage, id = *bundleID] { usage.recordLaunch(id); });
    }
    refresh();
}

// A process is launched once. Its windows may come back after all were gone (its window
// manager was replaced, or it closed its last window and opened another): the workspace then
// hands over the same handle. A reused pid comes with a new handle.
bool WindowMonitor::isNewProcess(const RunningApplicationPtr &application) {
    m_launchedProcesses.removeIf([](const auto &entry) { return entry.value().expired(); });
    auto &known = m_launchedProcesses[application->processIdentifier()];
    if (known.lock() == application)
        return false;
    known = application;
    return true;
}

void WindowMonitor::refresh() {
    QList<RunningApplicationPtr> apps;
    for (const auto &app : m_workspace.runningApplications()) {
        if (app->activationPolicy() == RunningApplication::ActivationPolicy::Regular &&
            app->processIdentifier() > 0)
            apps.append(app);
    }
    // The timer asks every few seconds; only a process that came or went is news.
    if (processIdentifiers(apps) == processIdentifiers(m_runningApps))
        return;

    QStringList bundleIDs;
    for (const auto &app : apps) {
        if (const auto bundleID = app->bundleIdentifier())
            bundleIDs.append(*bundleID);
    }
    setRunningApps(std::move(apps));
    m_scheduler.post(&m_usage, [&usage = m_usage, bundleIDs] { usage.seedRunningApps(bundleIDs); });
}

void WindowMonitor::setRefreshTimer(std::unique_ptr<RepeatingTimer> timer) {
    m_refreshTimer = std::move(timer);
}

void WindowMonitor::startRefreshTimer() {
    setRefreshTimer(m_scheduler.scheduleRepeating(this, refreshInterval, [this] { refresh(); }));
}

void WindowMonitor::setRunningApps(QList<RunningApplicationPtr> apps) {
    if (apps == m_runningApps)
        return;
    m_runningApps = std::move(apps);
    emit runningAppsChanged();
}
