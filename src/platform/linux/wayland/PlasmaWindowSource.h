#pragma once

#include "WindowSource.h"

#include <memory>
#include <QElapsedTimer>
#include <vector>

class SystemLog;
class WaylandConnection;
struct org_kde_plasma_window;
struct org_kde_plasma_window_management;

// The windows of KDE Plasma's compositor (KWin) through org_kde_plasma_window_management: the
// app_id, title, pid, states and parent of each, and its close and activate requests. KWin offers
// the interface only to a program whose desktop entry names it by its absolute path and lists
// the interface under X-KDE-Wayland-Interfaces. KWin lists Xwayland's windows too, with nothing
// that tells them apart: the session workspace leaves their processes to the X11 source, which
// is added first and closes only the windows that accept it.
class PlasmaWindowSource final : public WindowSource {
    Q_OBJECT
public:
    // Listens to the compositor of the connection; none when it does not offer the interface
    // to this program.
    static std::unique_ptr<PlasmaWindowSource> listen(std::shared_ptr<WaylandConnection> connection,
                                                      SystemLog &log);
    ~PlasmaWindowSource() override;

    const std::vector<ClientWindow> &windows() const override { return m_windows; }
    bool requestClose(const ClientWindow &window) override;
    void activate(const ClientWindow &window) override;

    // The time since the last window was unmapped, for the tests.
    const QElapsedTimer &sinceLastUnmapped() const { return m_sinceLastUnmapped; }

    // One window as the compositor has described it so far.
    struct Window {
        PlasmaWindowSource *source;
        org_kde_plasma_window *handle;
        ClientWindow window;
        bool isDescribed = false; // its initial state has come
    };
    // The protocol's events, from its listeners.
    void windowAnnounced(const char *uuid);
    void windowStates(Window &window, std::uint32_t states);
    void windowParent(Window &window, org_kde_plasma_window *parent);
    void windowChanged(Window &window);
    void windowUnmapped(Window &window);

private:
    PlasmaWindowSource(std::shared_ptr<WaylandConnection> connection,
                       org_kde_plasma_window_management *manager, SystemLog &log);
    Window *find(quint64 id) const;
    void publish();
    void connectionLost();

    std::shared_ptr<WaylandConnection> m_connection;
    org_kde_plasma_window_management *m_manager;
    SystemLog &m_log;
    std::vector<std::unique_ptr<Window>> m_plasmaWindows;
    std::vector<ClientWindow> m_windows;
    // Window ids are never reused, so that a request never reaches a newer window.
    quint64 m_lastId = 0;
    bool m_hasChanged = false;
    QElapsedTimer m_sinceLastUnmapped;
};
