#include "CommandLineOptions.h"
#include "models/AppCatalog.h"
#include "models/AppEnvironment.h"
#include "models/AppSettings.h"
#include "models/AppUsageStore.h"
#include "models/EventLoopScheduler.h"
#include "models/IconCache.h"
#include "models/SystemClock.h"
#include "models/WindowMonitor.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/freedesktop/IconThemeProvider.h"
#include "platform/linux/freedesktop/SettingsFileDefaultsStore.h"
#include "platform/linux/freedesktop/StatusNotifierWatcher.h"
#include "platform/linux/freedesktop/XdgAutostartService.h"
#include "platform/linux/LinuxSession.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "platform/linux/session/StandardErrorLog.h"
#include "QtMessageFilter.h"
#include "QuelloryApp.h"
#include "SingleInstance.h"
#include "updates/AppcastUpdater.h"
#include "views/AppsListActions.h"
#include "views/Translations.h"
#include "views/UpdateDialog.h"
#include "views/ViewEnvironment.h"
#include "WindowSystemGuard.h"

#include <optional>
#include <QApplication>
#include <QThreadPool>

int main(int argc, char **argv) {
    QtMessageFilter::install();
    if (const auto status =
            CommandLineOptions::answer(argc, argv, QStringLiteral(QUELLORY_VERSION)))
        return *status;
    std::optional<WindowSystemGuard> guard(std::in_place);
    // On a Wayland session the window is a Wayland client of its own, whatever the login
    // manager told Qt; Xwayland serves only where Qt's Wayland plugin is missing.
    if (LinuxSession::isWayland() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "wayland;xcb");
    QApplication application(argc, argv);
    guard.reset();
    QApplication::setApplicationName(QStringLiteral("Quellory"));
    QApplication::setApplicationVersion(QStringLiteral(QUELLORY_VERSION));
    Translations::install(QLocale::system());
    QApplication::setDesktopFileName(AppCatalog::builtInBundleIdentifier);
    const QString iconTheme = IconThemeProvider::desktopThemeName();
    QuelloryApp::useDesktopIcons(iconTheme);
    // The program's windows stay when the last one is hidden: it lives on in the tray.
    QApplication::setQuitOnLastWindowClosed(false);

    // Started again, the program only asks the running one to show its window.
    SingleInstance instance(SingleInstance::sessionSocketName());
    if (instance.reachRunningInstance())
        return 0;

    // The platform the models run on, chosen here and nowhere else.
    DesktopEntryApplications bundles;
    IconThemeProvider icons(iconTheme);
    SettingsFileDefaultsStore defaults;
    SystemClock clock;
    EventLoopScheduler scheduler;
    StandardErrorLog log;
    // The program's work goes to a pool of its own: Qt draws and scales images with the help of
    // its global pool and waits for it on the GUI thread, so nothing slow may ever queue there.
    // It ends, waiting for its tasks, before the parts they use.
    QThreadPool pool;
    // X11, or a Wayland compositor together with its Xwayland, once the window is up.
    SessionWorkspace workspace(bundles, pool);
    XdgAutostartService loginItems;
    AppEnvironment platform;
    platform.bundles = &bundles;
    platform.icons = &icons;
    platform.defaults = &defaults;
    platform.clock = &clock;
    platform.scheduler = &scheduler;
    platform.threadPool = &pool;
    platform.workspace = &workspace;
    platform.log = &log;
    platform.loginItems = &loginItems;
    AppEnvironment::install(platform);

    AppsListActions actions(workspace, AppUsageStore::shared(), bundles, scheduler, log);
    const ViewEnvironment environment{AppSettings::shared(),
                                      WindowMonitor::shared(),
                                      AppCatalog::shared(),
                                      AppUsageStore::shared(),
                                      IconCache::shared(),
                                      actions,
                                      bundles};
    UpdateDialog updateDialog;
    AppcastUpdater updater(AppcastUpdater::builtInFeedUrl(), QStringLiteral(QUELLORY_VERSION),
                           updateDialog);
    QuelloryApp quellory(environment, workspace, scheduler, updater);
    QObject::connect(&instance, &SingleInstance::reopenRequested, &quellory, &QuelloryApp::reopen);
    // The window shows none of what follows: the running applications, the tray.
    QObject::connect(&quellory, &QuelloryApp::firstPainted, &quellory, [&] {
        LinuxSession::connect(workspace, bundles, log);
        quellory.appDelegate().setMenuDrawnByDesktop(StatusNotifierWatcher::isRegistered());
    });
    quellory.start();
    return QApplication::exec();
}
