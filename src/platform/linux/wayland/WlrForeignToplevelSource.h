#pragma once

#include "WindowSource.h"

#include <memory>
#include <QElapsedTimer>
#include <vector>

class SystemLog;
class WaylandConnection;
struct wl_array;
struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;

// The toplevels of a wlroots compositor (sway, labwc, wayfire, Hyprland, river) through
// zwlr_foreign_toplevel_manager_v1: app_id, title, states and parent of each, and its close and
// activate requests. The protocol names no process: ToplevelProcesses finds it. Xwayland's
// windows are left to the X11 source, which closes only those that accept it.
class WlrForeignToplevelSource final : public WindowSource {
    Q_OBJECT
public:
    // Listens to the compositor of the connection; none when it does not offer the protocol.
    static std::unique_ptr<WlrForeignToplevelSource>
    listen(std::shared_ptr<WaylandConnection> connection, SystemLog &log);
    ~WlrForeignToplevelSource() override;

    const std::vector<ClientWindow> &windows() const override { return m_windows; }
    bool requestClose(const ClientWindow &window) override;
    void activate(const ClientWindow &window) override;

    // The time since the last closed event was read, for the benchmarks.
    const QElapsedTimer &sinceLastClosed() const { return m_sinceLastClosed; }

    // One toplevel as the compositor has described it so far.
    struct Toplevel {
        WlrForeignToplevelSource *source;
        zwlr_foreign_toplevel_handle_v1 *handle;
        ClientWindow window;
        bool isDescribed = false; // a done event has come
        bool isSearched = false;  // its process has been looked for
        bool isXwayland = false;
    };
    // The protocol's events, from its listeners.
    void toplevelAnnounced(zwlr_foreign_toplevel_handle_v1 *handle);
    void toplevelParent(Toplevel &toplevel, zwlr_foreign_toplevel_handle_v1 *parent);
    void toplevelDone(Toplevel &toplevel);
    void toplevelClosed(Toplevel &toplevel);
    void managerFinished();

private:
    WlrForeignToplevelSource(std::shared_ptr<WaylandConnection> connection,
                             zwlr_foreign_toplevel_manager_v1 *manager, SystemLog &log);
    Toplevel *find(quint64 id) const;
    void publish();
    void connectionLost();

    std::shared_ptr<WaylandConnection> m_connection;
    zwlr_foreign_toplevel_manager_v1 *m_manager;
    SystemLog &m_log;
    std::vector<std::unique_ptr<Toplevel>> m_toplevels;
    std::vector<ClientWindow> m_windows;
    bool m_hasChanged = false;
    QElapsedTimer m_sinceLastClosed;
};
