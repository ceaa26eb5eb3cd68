#pragma once

#include <memory>

class ApplicationBundles;
class QThreadPool;
class SessionWorkspace;
class SystemLog;

// The desktop session the program runs in, told once at start: a Wayland session
// ($WAYLAND_DISPLAY, or $XDG_SESSION_TYPE=wayland) or an X11 one.
class LinuxSession {
public:
    static bool isWayland();
    // $XDG_CURRENT_DESKTOP names GNOME, whose shell shows its windows only to its extensions.
    static bool isGnome();
    // The workspace of this session, read once: on X11 the X server's windows; on Wayland the
    // compositor's toplevels through the protocol it offers (on GNOME, through Quellory's
    // shell extension), together with the X11 programs of its Xwayland server.
    static std::unique_ptr<SessionWorkspace> workspace(const ApplicationBundles &bundles,
                                                       SystemLog &log, QThreadPool &launchPool);
    // Connects a workspace made empty to this session's window systems, and reads them.
    static void connect(SessionWorkspace &workspace, const ApplicationBundles &bundles,
                        SystemLog &log);
};
