#pragma once

#include "ClientWindowReader.h"
#include "WindowSource.h"

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class SystemLog;
class X11Connection;

// The top-level windows of an X server (an X11 session's, or the Xwayland server of a Wayland
// compositor), followed through events read in the Qt event loop. Without a window manager it
// falls back to the mapped windows on the root, and without an X server it lists nothing.
class X11WindowSource final : public WindowSource {
    Q_OBJECT
public:
    // The session's own X server, or a Wayland compositor's Xwayland, which goes only with the
    // compositor, whose own line on the log says so.
    enum class Server { session, xwayland };

    // Connects to the server named by $DISPLAY; says on the log when there is none.
    X11WindowSource(SystemLog &log, Server server, QObject *parent = nullptr);
    ~X11WindowSource() override;

    const std::vector<ClientWindow> &windows() const override { return m_windowList; }
    // One round trip to learn whether the window list changed.
    void refresh() override;
    bool requestClose(const ClientWindow &window) override;
    void activate(const ClientWindow &window) override;
    // _NET_WM_ICON, the size nearest the list's icons.
    QImage icon(const ClientWindow &window) const override;

    // Round trips to the X server so far, for the benchmarks.
    std::uint64_t roundTrips() const;

private:
    void handleEvent(const xcb_generic_event_t &event);
    void watchRoot();
    void findWindowManager();
    void synchronize();
    bool readWindows(const std::vector<xcb_window_t> &windows);
    void connectionLost();

    SystemLog &m_log;
    Server m_server;
    std::shared_ptr<X11Connection> m_connection;
    std::unique_ptr<ClientWindowReader> m_reader;
    xcb_window_t m_managerCheck = XCB_NONE;
    bool m_needsSync = true;
    bool m_wasLost = false;
    std::vector<xcb_window_t> m_windowOrder;
    std::unordered_map<xcb_window_t, ClientWindow> m_windows;
    std::unordered_set<xcb_window_t> m_changedWindows;
    std::vector<ClientWindow> m_windowList;
};
