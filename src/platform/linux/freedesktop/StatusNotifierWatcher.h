#pragma once

// The desktop's StatusNotifierItem host. Where one runs, tray icons and their menus are
// exported over D-Bus and the desktop draws the menu itself, with plain items only.
class StatusNotifierWatcher {
public:
    static bool isRegistered();
};
