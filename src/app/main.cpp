#include "models/AppCatalog.h"
#include "models/AppEnvironment.h"
#include "models/AppSettings.h"
#include "models/AppUsageStore.h"
#include "models/EventLoopScheduler.h"
#include "models/IconCache.h"
#include "models/SystemClock.h"
#include "models/WindowMonitor.h"
#include "platform/linux/DesktopEntryApplications.h"
#include "platform/linux/IconThemeProvider.h"
#include "platform/linux/SettingsFileDefaultsStore.h"
#include "platform/linux/StandardErrorLog.h"
#include "platform/linux/X11Workspace.h"
#include "platform/linux/XdgAutostartService.h"
#include "views/AppsListActions.h"
#include "views/MainView.h"

#include <QApplication>
#include <QIcon>
#include <QMainWindow>
#include <QThreadPool>
#include <QTimer>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quellory"));
    QApplication::setApplicationVersion(QStringLiteral(QUELLORY_VERSION));
    QApplication::setDesktopFileName(AppCatalog::builtInBundleIdentifier);
    // Qt's own icon lookup (the toolbar's gear) follows the desktop's theme, as ours does.
    if (QIcon::themeName().isEmpty())
        QIcon::setThemeName(IconThemeProvider::desktopThemeName());
    QIcon::setFallbackThemeName(QStringLiteral("Adwaita"));

    // The platform the models run on, chosen here and nowhere else.
    DesktopEntryApplications bundles;
    IconThemeProvider icons(IconThemeProvider::desktopThemeName());
    SettingsFileDefaultsStore defaults;
    SystemClock clock;
    EventLoopScheduler scheduler;
    StandardErrorLog log;
    X11Workspace workspace(bundles, log, *QThreadPool::globalInstance());
    XdgAutostartService loginItems;
    AppEnvironment platform;
    platform.bundles = &bundles;
    platform.icons = &icons;
    platform.defaults = &defaults;
    platform.clock = &clock;
    platform.scheduler = &scheduler;
    platform.threadPool = QThreadPool::globalInstance();
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
    QMainWindow window;
    window.setWindowTitle(MainView::windowTitle);
    window.setCentralWidget(new MainView(environment, &window));
    window.resize(MainView::idealSize);
    window.show();

    // Once the window is up: follow the running applications and read the installed ones.
    QTimer::singleShot(0, &window, [&environment] {
        environment.monitor.startObserving();
        environment.monitor.refresh();
        environment.monitor.startRefreshTimer();
        environment.catalog.loadIfNeeded();
    });
    return QApplication::exec();
}
