#pragma once

#include "platform/RunningApplication.h"

#include <memory>
#include <QMenu>
#include <QObject>

class AppCatalog;
class AppSettings;
class ApplicationBundles;
class IconCache;
class QSystemTrayIcon;
class Scheduler;
class WindowMonitor;
class Workspace;

// The shell: starts the monitor and the catalog, keeps the main window hidden or minimised
// rather than closed, brings it back on reopen, and owns the tray icon with its menu of quit
// commands. The activation policy (whether the program shows in the task bar) is kept as the window
// and the tray icon come and go.
class AppDelegate final : public QObject {
    Q_OBJECT
public:
    using ActivationPolicy = RunningApplication::ActivationPolicy;

    AppDelegate(AppSettings &settings, WindowMonitor &monitor, AppCatalog &catalog,
                IconCache &icons, Workspace &workspace, Scheduler &scheduler,
                const ApplicationBundles &bundles, QObject *parent = nullptr);
    ~AppDelegate() override;

    // The tray's menu is exported to the desktop, which draws it itself and shows plain items
    // only. Told before the launch finishes: finding out asks the session bus.
    void setMenuDrawnByDesktop(bool drawn) { m_menuDrawnByDesktop = drawn; }

    void applicationDidFinishLaunching();
    // Whether a reopen was handled (always).
    bool applicationShouldHandleReopen(bool hasVisibleWindows);
    void applyMenuBarIconSetting();

    static QWidget *findMainWindow();
    void showMainWindow();

    ActivationPolicy activationPolicy() const { return m_activationPolicy; }
    QSystemTrayIcon *statusItem() const { return m_statusItem.get(); }
    QMenu &statusMenu() { return m_statusMenu; }
    int runningAppCount() const;
    // The tray's title beside its icon and its accessibility label, for the current count.
    static QString statusTitle(int count);
    static QString statusAccessibilityLabel(int count);

    void installStatusItem();
    void removeStatusItem();
    void updateStatusButton();
    void rebuildStatusMenu();
    void statusBarButtonClicked();
    void menuDidClose();
    void quitRunningApp(const QAction *item);
    void openAppFromMenu();
    void quitQuellory();

signals:
    void activationPolicyChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setActivationPolicy(ActivationPolicy policy);
    ActivationPolicy policyWithoutWindow() const;
    QAction *makeQuitItem(const RunningApplicationPtr &application);
    QAction *addItem(const QString &text);
    void addHeader(const QString &title);
    void addSpacer();

    AppSettings &m_settings;
    WindowMonitor &m_monitor;
    AppCatalog &m_catalog;
    IconCache &m_icons;
    Workspace &m_workspace;
    Scheduler &m_scheduler;
    const ApplicationBundles &m_bundles;
    bool m_menuDrawnByDesktop = false;
    std::unique_ptr<QSystemTrayIcon> m_statusItem;
    QMenu m_statusMenu;
    bool m_wasAccessoryBeforeMenu = false;
    bool m_isQuitting = false;
    ActivationPolicy m_activationPolicy = ActivationPolicy::Regular;
};
