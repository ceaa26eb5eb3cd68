#pragma once

class AppCatalog;
class AppSettings;
class AppUsageStore;
class AppsListActions;
class ApplicationBundles;
class IconCache;
class WindowMonitor;

// The shared models that the main window's views read, handed down from the window to each
// view that needs them.
struct ViewEnvironment {
    AppSettings &settings;
    WindowMonitor &monitor;
    AppCatalog &catalog;
    AppUsageStore &usage;
    IconCache &icons;
    AppsListActions &actions;
    const ApplicationBundles &bundles;
};
