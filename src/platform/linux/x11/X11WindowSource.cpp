#include "X11WindowSource.h"

#include "platform/SystemLog.h"
#include "X11Connection.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int iconSize = 32;

// _NET_WM_ICON holds images one after another: width, height, then ARGB pixels. The one nearest
// the size we draw wins, the larger on a tie.
QImage bestIcon(const std::uint32_t *data, size_t count) {
    const std::uint32_t *best = nullptr;
    long bestDistance = 0;
    for (size_t at = 0; at + 2 <= count;) {
        const std::uint32_t width = data[at], height = data[at + 1];
        const size_t pixels = size_t(width) * height;
        if (width == 0 || height == 0 || pixels > count - at - 2)
            break;
        const long distance = std::abs(long(width) - iconSize) * 2 - (long(width) >= iconSize);
        if (!best || distance < bestDistance) {
            best = data + at;
            bestDistance = distance;
        }
        at += 2 + pixels;
    }
    if (!best)
        return {};
    QImage image{int(best[0]), int(best[1]), QImage::Format_ARGB32};
    for (int y = 0; y < image.height(); ++y)
        std::copy_n(best + 2 + size_t(y) * best[0], best[0],
                    reinterpret_cast<std::uint32_t *>(image.scanLine(y)));
    return image.scaled(iconSize, iconSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

X11WindowSource::X11WindowSource(SystemLog &log, Server server, QObject *parent)
    : WindowSource(parent), m_log(log), m_server(server), m_connection(X11Connection::open()) {
    if (!m_connection) {
        m_log.write(QStringLiteral("Quellory: cannot connect to the X server at DISPLAY=%1; no "
                                   "running applications can be listed")
                        .arg(qEnvironmentVariable("DISPLAY")));
        return;
    }
    m_reader = std::make_unique<ClientWindowReader>(*m_connection);
    m_connection->setEventHandler([this](const xcb_generic_event_t &event) { handleEvent(event); });
    connect(m_connection.get(), &X11Connection::eventsHandled, this, [this] {
        if (m_needsSync)
            synchronize();
    });
    connect(m_connection.get(), &X11Connection::lost, this, &X11WindowSource::connectionLost);
    watchRoot();
    findWindowManager();
    m_connection->flush();
}

X11WindowSource::~X11WindowSource() = default;

std::uint64_t X11WindowSource::roundTrips() const {
    return m_connection ? m_connection->roundTrips() : 0;
}

void X11WindowSource::refresh() {
    synchronize();
}

bool X11WindowSource::requestClose(const ClientWindow &window) {
    if (!m_connection || !m_connection->isAlive() || !window.acceptsDelete)
        return false;
    m_connection->requestClose(xcb_window_t(window.id));
    m_connection->flush();
    return true;
}

void X11WindowSource::activate(const ClientWindow &window) {
    if (!m_connection || !m_connection->isAlive())
        return;
    m_connection->activate(xcb_window_t(window.id));
    m_connection->flush();
}

QImage X11WindowSource::icon(const ClientWindow &window) const {
    if (!m_connection || !m_connection->isAlive())
        return {};
    const auto cookie =
        xcb_get_property(m_connection->raw(), 0, xcb_window_t(window.id),
                         m_connection->atoms().netWmIcon, XCB_ATOM_CARDINAL, 0, UINT32_MAX / 4);
    m_connection->awaitReplies();
    const auto reply = m_connection->reply(xcb_get_property_reply, cookie);
    if (!reply || reply->format != 32)
        return {};
    return bestIcon(static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get())),
                    size_t(xcb_get_property_value_length(reply.get())) / 4);
}

void X11WindowSource::watchRoot() {
    // Property changes tell of the client list and of a window manager coming; the root's
    // children tell of windows mapped while no manager runs.
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection->raw(), m_connection->root(), XCB_CW_EVENT_MASK,
                                 &mask);
}

void X11WindowSource::findWindowManager() {
    m_managerCheck = m_reader->windowManagerCheck();
    // The manager's own window goes with it: that is how its leaving is seen.
    if (m_managerCheck != XCB_NONE) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection->raw(), m_managerCheck, XCB_CW_EVENT_MASK, &mask);
    }
    m_connection->setManagerClosesWindows(m_managerCheck != XCB_NONE &&
                                          m_reader->managerClosesWindows());
    m_needsSync = true;
}

void X11WindowSource::handleEvent(const xcb_generic_event_t &event) {
    const auto &atoms = m_connection->atoms();
    switch (event.response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY: {
        const auto &notify = reinterpret_cast<const xcb_property_notify_event_t &>(event);
        if (notify.window == m_connection->root()) {
            if (notify.atom == atoms.netSupportingWmCheck)
                findWindowManager();
            m_needsSync |= notify.atom == atoms.netClientList;
        } else if (m_windows.contains(notify.window) && notify.atom != atoms.netWmIcon) {
            m_changedWindows.insert(notify.window);
            m_needsSync = true;
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto &notify = reinterpret_cast<const xcb_destroy_notify_event_t &>(event);
        if (notify.window == m_managerCheck) {
            m_managerCheck = XCB_NONE;
            m_connection->setManagerClosesWindows(false);
        }
        m_needsSync |= m_managerCheck == XCB_NONE;
        break;
    }
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        // With a manager, these are its frames coming and going: the client list says more.
        m_needsSync |= m_managerCheck == XCB_NONE;
        break;
    default:
        break;
    }
}

void X11WindowSource::synchronize() {
    m_needsSync = false;
    if (!m_connection || !m_connection->isAlive())
        return;
    std::vector<xcb_window_t> windows;
    if (m_managerCheck != XCB_NONE) {
        if (auto managed = m_reader->managedWindows())
            windows = std::move(*managed);
    } else {
        windows = m_reader->mappedWindows();
    }
    if (!m_connection->isAlive())
        return connectionLost();
    if (windows == m_windowOrder && m_changedWindows.empty())
        return;
    if (!readWindows(windows))
        return connectionLost();
    emit windowsChanged();
}

bool X11WindowSource::readWindows(const std::vector<xcb_window_t> &windows) {
    std::vector<xcb_window_t> unread;
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    for (const xcb_window_t window : windows) {
        if (!m_windows.contains(window))
            xcb_change_window_attributes(m_connection->raw(), window, XCB_CW_EVENT_MASK, &mask);
        if (!m_windows.contains(window) || m_changedWindows.contains(window))
            unread.push_back(window);
    }
    std::vector<ClientWindow> read = m_reader->read(unread);
    if (!m_connection->isAlive())
        return false;
    std::unordered_map<xcb_window_t, ClientWindow> current;
    for (ClientWindow &window : read) {
        window.source = this;
        current.emplace(xcb_window_t(window.id), std::move(window));
    }
    for (const xcb_window_t window : windows) {
        if (!current.contains(window))
            current.emplace(window, m_windows.at(window));
    }
    m_windows = std::move(current);
    m_windowOrder = windows;
    m_changedWindows.clear();
    m_windowList.clear();
    for (const xcb_window_t window : m_windowOrder)
        m_windowList.push_back(m_windows.at(window));
    return true;
}

void X11WindowSource::connectionLost() {
    if (m_wasLost)
        return;
    m_wasLost = true;
    if (m_server == Server::session)
        m_log.write(QStringLiteral("Quellory: lost the connection to the X server; no running "
                                   "applications are listed until the program is started again"));
    m_windows.clear();
    m_windowOrder.clear();
    m_windowList.clear();
    emit windowsChanged();
}
