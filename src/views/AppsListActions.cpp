#include "AppsListActions.h"

#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/Scheduler.h"
#include "platform/SystemLog.h"
#include "platform/Workspace.h"

#include <QPointer>

namespace {

// Adds or removes an identifier; answers whether the set changed.
bool include(QSet<QString> &ids, const QString &bundleID, bool isIncluded) {
    if (ids.contains(bundleID) == isIncluded)
        return false;
    if (isIncluded)
        ids.insert(bundleID);
    else
        ids.remove(bundleID);
    return true;
}

} // namespace

AppsListActions::AppsListActions(Workspace &workspace, AppUsageStore &usage,
                                 const ApplicationBundles &bundles, Scheduler &scheduler,
                                 SystemLog &log, QObject *parent)
    : QObject(parent), m_workspace(workspace), m_usage(usage), m_bundles(bundles),
      m_scheduler(scheduler), m_log(log) {}

void AppsListActions::setSelectedIDs(const QSet<QString> &ids) {
    if (ids == m_selectedIDs)
        return;
    m_selectedIDs = ids;
    emit selectedIDsChanged();
}

void AppsListActions::insertSelectedID(const QString &bundleID) {
    if (include(m_selectedIDs, bundleID, true))
        emit selectedIDsChanged();
}

void AppsListActions::removeSelectedID(const QString &bundleID) {
    if (include(m_selectedIDs, bundleID, false))
        emit selectedIDsChanged();
}

void AppsListActions::setBusy(const QString &bundleID, bool isBusy) {
    if (include(m_busyIDs, bundleID, isBusy))
        emit busyIDsChanged();
}

void AppsListActions::quitApp(const QString &bundleID, const RunningApplicationPtr &runningApp) {
    if (AppCatalog::excludedBundleIDs().contains(bundleID) ||
        bundleID == AppCatalog::ownBundleIdentifier(m_bundles))
        return;
    setBusy(bundleID, true);

    QList<RunningApplicationPtr> targets;
    for (const auto &app : m_workspace.runningApplications()) {
        if (app->bundleIdentifier() == bundleID &&
            app->activationPolicy() == RunningApplication::ActivationPolicy::Regular &&
            !app->isTerminated())
            targets.append(app);
    }
    // The workspace may lag behind the handle the row was built from.
    if (targets.isEmpty() && runningApp && !runningApp->isTerminated())
        targets.append(runningApp);

    bool wasSent = false;
    for (const auto &target : targets) {
        if (target->terminate())
            wasSent = true;
        else
            m_log.write(QStringLiteral("Quellory: terminate() refused for ") + bundleID +
                        QStringLiteral(" pid=") + QString::number(target->processIdentifier()));
    }
    if (!wasSent)
        m_log.write(QStringLiteral("Quellory: no terminate sent for ") + bundleID +
                    QStringLiteral(" (sandboxed builds cannot quit other apps)"));

    m_scheduler.postDelayed(this, quitClearDelay, [this, bundleID] { clearAfterQuit(bundleID); });
}

void AppsListActions::clearAfterQuit(const QString &bundleID) {
    setBusy(bundleID, false);
    removeSelectedID(bundleID);
}

void AppsListActions::openApp(const QString &bundleID, const std::optional<QString> &url) {
    const std::optional<QString> location = url ? url : m_workspace.urlForApplication(bundleID);
    if (!location)
        return;
    setBusy(bundleID, true);
    m_usage.recordLaunch(bundleID);
    // The completion may come on any thread. It goes back through the workspace, which outlives
    // every launch it was asked for, and this object is looked for only on the main thread.
    m_workspace.openApplication(*location, [&workspace = m_workspace, actions = QPointer(this),
                                            bundleID](const std::optional<QString> &error) {
        QMetaObject::invokeMethod(
            &workspace,
            [actions, bundleID, error] {
                if (actions)
                    actions->finishOpen(bundleID, error);
            },
            Qt::QueuedConnection);
    });
}

void AppsListActions::finishOpen(const QString &bundleID, const std::optional<QString> &error) {
    setBusy(bundleID, false);
    if (error)
        m_log.write(QStringLiteral("Quellory: failed to open ") + bundleID + QStringLiteral(": ") +
                    *error);
}
