#pragma once

#include "ClientWindow.h"

#include <optional>
#include <QString>
#include <vector>
#include <xcb/xcb.h>

class X11Connection;

// Reads top-level windows from the X server, each batch of requests in one round trip.
class ClientWindowReader {
public:
    explicit ClientWindowReader(X11Connection &connection);

    // The window that a running EWMH window manager announces, or none.
    xcb_window_t windowManagerCheck();
    // Whether the running window manager closes windows on request (_NET_CLOSE_WINDOW).
    bool managerClosesWindows();
    // The windows that the window manager manages, oldest first.
    std::optional<std::vector<xcb_window_t>> managedWindows();
    // The mapped top-level windows when no window manager runs.
    std::vector<xcb_window_t> mappedWindows();
    // What each window says about itself, in the same order.
    std::vector<ClientWindow> read(const std::vector<xcb_window_t> &windows);

private:
    // The process of a window that states `stated` as its pid, or 0; the display's TCP clients
    // are read into `tcpClients` when they are needed.
    qint32 believedProcess(std::uint32_t stated,
                           std::optional<std::vector<qint32>> &tcpClients) const;

    X11Connection &m_connection;
    QString m_hostName;
};
