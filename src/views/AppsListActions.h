#pragma once

#include "platform/RunningApplication.h"

#include <optional>
#include <QObject>
#include <QSet>
#include <QString>

class ApplicationBundles;
class AppUsageStore;
class Scheduler;
class SystemLog;
class Workspace;

// What the application list does for one item at a time, quitting or opening it, and the list's
// state that survives its redraws: which items are busy and which are ticked. Items are bundle
// identifiers; an action applies to every running instance of one.
class AppsListActions final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QSet<QString> busyIDs READ busyIDs NOTIFY busyIDsChanged)
    Q_PROPERTY(
        QSet<QString> selectedIDs READ selectedIDs WRITE setSelectedIDs NOTIFY selectedIDsChanged)
public:
    // How long a quit request keeps its item busy and ticked, whether or not the application
    // has ended by then.
    static constexpr double quitClearDelay = 1.5;

    AppsListActions(Workspace &workspace, AppUsageStore &usage, const ApplicationBundles &bundles,
                    Scheduler &scheduler, SystemLog &log, QObject *parent = nullptr);

    const QSet<QString> &busyIDs() const { return m_busyIDs; }
    const QSet<QString> &selectedIDs() const { return m_selectedIDs; }
    void setSelectedIDs(const QSet<QString> &ids);
    void insertSelectedID(const QString &bundleID);
    void removeSelectedID(const QString &bundleID);

    // Asks every running regular instance to quit; runningApp is the handle the item was built
    // from, asked when the workspace no longer lists any. Never quits system components or this
    // program.
    void quitApp(const QString &bundleID, const RunningApplicationPtr &runningApp);
    // Launches the application at url, else where the workspace says it is installed.
    void openApp(const QString &bundleID, const std::optional<QString> &url);

    void clearAfterQuit(const QString &bundleID);
    // The launch's outcome, back on the main thread.
    void finishOpen(const QString &bundleID, const std::optional<QString> &error);

signals:
    void busyIDsChanged();
    void selectedIDsChanged();

private:
    void setBusy(const QString &bundleID, bool isBusy);

    Workspace &m_workspace;
    AppUsageStore &m_usage;
    const ApplicationBundles &m_bundles;
    Scheduler &m_scheduler;
    SystemLog &m_log;
    QSet<QString> m_busyIDs;
    QSet<QString> m_selectedIDs;
};
