#include "WaylandConnection.h"

#include <algorithm>
#include <cerrno>
#include <QSocketNotifier>
#include <wayland-client.h>

namespace {

void addGlobal(void *data, wl_registry *, std::uint32_t name, const char *interface,
               std::uint32_t version) {
    static_cast<std::vector<WaylandConnection::Global> *>(data)->push_back(
        {name, QByteArray(interface), version});
}

void removeGlobal(void *data, wl_registry *, std::uint32_t name) {
    auto &globals = *static_cast<std::vector<WaylandConnection::Global> *>(data);
    std::erase_if(globals, [name](const auto &global) { return global.name == name; });
}

constexpr wl_registry_listener registryListener{addGlobal, removeGlobal};

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::open() {
    wl_display *display = wl_display_connect(nullptr);
    if (!display)
        return nullptr;
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection(display));
    if (!connection->roundtrip())
        return nullptr;
    return connection;
}

WaylandConnection::WaylandConnection(wl_display *display) : m_display(display) {
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &registryListener, &m_globals);
    m_notifier = new QSocketNotifier(wl_display_get_fd(m_display), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &WaylandConnection::readEvents);
}

WaylandConnection::~WaylandConnection() {
    delete m_notifier;
    if (m_seat)
        wl_seat_destroy(m_seat);
    wl_registry_destroy(m_registry);
    wl_display_disconnect(m_display);
}

const WaylandConnection::Global *WaylandConnection::global(const char *interface) const {
    const auto it = std::find_if(m_globals.begin(), m_globals.end(),
                                 [interface](const Global &g) { return g.interface == interface; });
    return it == m_globals.end() ? nullptr : &*it;
}

void *WaylandConnection::bind(const Global &global, const wl_interface *interface,
                              std::uint32_t version) {
    return wl_registry_bind(m_registry, global.name, interface, std::min(version, global.version));
}

wl_seat *WaylandConnection::seat() {
    if (!m_seat && isAlive()) {
        if (const Global *seatGlobal = global("wl_seat"))
            m_seat = static_cast<wl_seat *>(bind(*seatGlobal, &wl_seat_interface, 1));
    }
    return m_seat;
}

bool WaylandConnection::roundtrip() {
    if (m_wasLost || wl_display_roundtrip(m_display) < 0) {
        markLost();
        return false;
    }
    return true;
}

void WaylandConnection::flush() {
    if (!m_wasLost && wl_display_flush(m_display) < 0 && errno != EAGAIN)
        markLost();
}

void WaylandConnection::readEvents() {
    // Events that a round trip left queued go first; then what the socket holds.
    while (wl_display_prepare_read(m_display) != 0) {
        if (wl_display_dispatch_pending(m_display) < 0)
            return markLost();
    }
    if (wl_display_read_events(m_display) < 0 || wl_display_dispatch_pending(m_display) < 0)
        return markLost();
    flush();
    emit eventsHandled();
}

void WaylandConnection::markLost() {
    if (m_wasLost)
        return;
    m_wasLost = true;
    m_notifier->setEnabled(false);
    emit lost();
}
