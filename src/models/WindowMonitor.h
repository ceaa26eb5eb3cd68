#pragma once

#include "platform/RunningApplication.h"

#include <memory>
#include <QHash>
#include <QList>
#include <QObject>

class AppUsageStore;
class RepeatingTimer;
class Scheduler;
class Workspace;

// Which ordinary applications run in the user's session, following the workspace's launch and
// end notifications and a repeating refresh. Launches it hears of count as uses; what already ran
// when it started observing is seeded instead.
class WindowMonitor final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<RunningApplicationPtr> runningApps READ runningApps NOTIFY runningAppsChanged)
public:
    static constexpr double refreshInterval = 5.0;

    WindowMonitor(Workspace &workspace, AppUsageStore &usage, Scheduler &scheduler,
                  QObject *parent = nullptr);
    ~WindowMonitor() override;
    static WindowMonitor &shared();

    // The running regular applications with a process, in the workspace's order. Not filtered
    // any further: it may hold this program, system components and applications without an
    // identifier.
    const QList<RunningApplicationPtr> &runningApps() const { return m_runningApps; }

    void startObserving();
    // Takes a fresh list from the workspace; publishes it only when processes came or went.
    void refresh();
    void setRefreshTimer(std::unique_ptr<RepeatingTimer> timer);
    // Refreshes every refreshInterval seconds for as long as the monitor lives.
    void startRefreshTimer();

signals:
    void runningAppsChanged();

private:
    void applicationDidLaunch(const RunningApplicationPtr &application);
    bool isNewProcess(const RunningApplicationPtr &application);
    void setRunningApps(QList<RunningApplicationPtr> apps);

    Workspace &m_workspace;
    AppUsageStore &m_usage;
    Scheduler &m_scheduler;
    QList<RunningApplicationPtr> m_runningApps;
    QList<QMetaObject::Connection> m_workspaceObservers; // launch first, then end
    std::unique_ptr<RepeatingTimer> m_refreshTimer;
    // The processes already counted or seeded (those of the first read), while their handles
    // live.
    QHash<qint32, std::weak_ptr<RunningApplication>> m_launchedProcesses;
};
