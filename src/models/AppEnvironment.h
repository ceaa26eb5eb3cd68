#pragma once

class ApplicationBundles;
class Clock;
class DefaultsStore;
class IconProvider;
class LoginItemService;
class QThreadPool;
class Scheduler;
class SystemLog;
class Workspace;

// The platform parts, clock, scheduler and thread pool from which the shared model instances are
// made on first use. main() installs the real ones before any model is used; tests make their
// own model instances instead and never touch the shared ones.
struct AppEnvironment {
    ApplicationBundles *bundles = nullptr;
    IconProvider *icons = nullptr;
    DefaultsStore *defaults = nullptr;
    Clock *clock = nullptr;
    Scheduler *scheduler = nullptr;
    QThreadPool *threadPool = nullptr;
    Workspace *workspace = nullptr;
    SystemLog *log = nullptr;
    LoginItemService *loginItems = nullptr;

    static void install(const AppEnvironment &environment);
    static const AppEnvironment &current();
};
