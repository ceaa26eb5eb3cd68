#pragma once

#include "ClientWindow.h"

#include <QByteArray>
#include <vector>

// Finds the process behind Wayland toplevels, which the foreign toplevel protocol does not name.
// sway's IPC (where $SWAYSOCK is set) lists every view with its pid, app_id, title and shell;
// elsewhere the user's processes on the same Wayland display whose program is the app_id are
// taken. A toplevel whose process cannot be found stays without one.
class ToplevelProcesses {
public:
    struct Found {
        qint32 processIdentifier = 0; // 0 when not found
        bool isXwayland = false;      // an X11 window that the compositor shows
    };
    // A window as the compositor's IPC shows it, or a client process found in /proc.
    struct View {
        qint32 processIdentifier;
        QString appId; // an X11 window's class; empty for a process from /proc
        QString title;
        QString program; // for a process from /proc
        bool isXwayland;
    };

    // One answer per window, in the same order; windows that match the same views take them in
    // turn, oldest first, as the compositor announced them.
    static std::vector<Found> find(const std::vector<const ClientWindow *> &windows);

    // The views of sway's get_tree reply, open for tests.
    static std::vector<View> viewsOfSwayTree(const QByteArray &json);
    // Which view each window is, by app_id and title, then app_id alone; open for tests.
    static std::vector<Found> matchViews(const std::vector<const ClientWindow *> &windows,
                                         const std::vector<View> &views);

private:
    static bool fits(const View &view, const ClientWindow &window);
    static std::vector<View> swayViews();
    static std::vector<View> displayClients();
};
