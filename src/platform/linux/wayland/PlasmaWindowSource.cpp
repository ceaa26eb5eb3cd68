#include "PlasmaWindowSource.h"

#include "plasma-window-management-client-protocol.h"
#include "platform/SystemLog.h"
#include "WaylandConnection.h"

#include <algorithm>
#include <wayland-client.h>

namespace {

using Window = PlasmaWindowSource::Window;

// The interface announces windows by uuid from this version on.
constexpr std::uint32_t uuidVersion =
    ORG_KDE_PLASMA_WINDOW_MANAGEMENT_WINDOW_WITH_UUID_SINCE_VERSION;
// The version whose events the listeners below know.
constexpr std::uint32_t boundVersion = ORG_KDE_PLASMA_WINDOW_RESOURCE_NAME_CHANGED_SINCE_VERSION;

// Events that say nothing a task bar of ours shows.
template <typename Proxy, typename... Arguments> void ignore(void *, Proxy *, Arguments...) {}

Window &windowOf(void *data) {
    return *static_cast<Window *>(data);
}

void onTitle(void *data, org_kde_plasma_window *, const char *title) {
    windowOf(data).window.title = QString::fromUtf8(title);
    windowOf(data).source->windowChanged(windowOf(data));
}

void onAppId(void *data, org_kde_plasma_window *, const char *appId) {
    ClientWindow &window = windowOf(data).window;
    window.appId = QString::fromUtf8(appId);
    window.className = window.appId;
    windowOf(data).source->windowChanged(windowOf(data));
}

void onState(void *data, org_kde_plasma_window *, std::uint32_t states) {
    windowOf(data).source->windowStates(windowOf(data), states);
}

void onUnmapped(void *data, org_kde_plasma_window *) {
    windowOf(data).source->windowUnmapped(windowOf(data));
}

void onInitialState(void *data, org_kde_plasma_window *) {
    windowOf(data).isDescribed = true;
    windowOf(data).source->windowChanged(windowOf(data));
}

void onParent(void *data, org_kde_plasma_window *, org_kde_plasma_window *parent) {
    windowOf(data).source->windowParent(windowOf(data), parent);
}

void onPid(void *data, org_kde_plasma_window *, std::uint32_t processIdentifier) {
    windowOf(data).window.processIdentifier = qint32(processIdentifier);
    windowOf(data).source->windowChanged(windowOf(data));
}

constexpr org_kde_plasma_window_listener windowListener{
    onTitle,
    onAppId,
    onState,
    ignore<org_kde_plasma_window, std::int32_t>,
    ignore<org_kde_plasma_window, const char *>,
    onUnmapped,
    onInitialState,
    onParent,
    ignore<org_kde_plasma_window, std::int32_t, std::int32_t, std::uint32_t, std::uint32_t>,
    ignore<org_kde_plasma_window>,
    onPid,
    ignore<org_kde_plasma_window, const char *>,
    ignore<org_kde_plasma_window, const char *>,
    ignore<org_kde_plasma_window, const char *, const char *>,
    ignore<org_kde_plasma_window, const char *>,
    ignore<org_kde_plasma_window, const char *>,
    ignore<org_kde_plasma_window, const char *>,
};

void onWindowWithUuid(void *data, org_kde_plasma_window_management *, std::uint32_t,
                      const char *uuid) {
    static_cast<PlasmaWindowSource *>(data)->windowAnnounced(uuid);
}

// The window event announces windows to clients of versions before the uuid.
constexpr org_kde_plasma_window_management_listener managerListener{
    ignore<org_kde_plasma_window_management, std::uint32_t>,
    ignore<org_kde_plasma_window_management, std::uint32_t>,
    ignore<org_kde_plasma_window_management, wl_array *>,
    ignore<org_kde_plasma_window_management, const char *>,
    onWindowWithUuid,
};

} // namespace

std::unique_ptr<PlasmaWindowSource>
PlasmaWindowSource::listen(std::shared_ptr<WaylandConnection> connection, SystemLog &log) {
    const auto *global = connection->global("org_kde_plasma_window_management");
    if (!global || global->version < uuidVersion)
        return nullptr;
    auto *manager = static_cast<org_kde_plasma_window_management *>(
        connection->bind(*global, &org_kde_plasma_window_management_interface, boundVersion));
    std::unique_ptr<PlasmaWindowSource> source(
        new PlasmaWindowSource(std::move(connection), manager, log));
    // The windows that are open now, then each one's initial state.
    source->m_connection->roundtrip();
    source->m_connection->roundtrip();
    source->publish();
    return source;
}

PlasmaWindowSource::PlasmaWindowSource(std::shared_ptr<WaylandConnection> connection,
                                       org_kde_plasma_window_management *manager, SystemLog &log)
    : m_connection(std::move(connection)), m_manager(manager), m_log(log) {
    org_kde_plasma_window_management_add_listener(m_manager, &managerListener, this);
    connect(m_connection.get(), &WaylandConnection::eventsHandled, this,
            &PlasmaWindowSource::publish);
    connect(m_connection.get(), &WaylandConnection::lost, this,
            &PlasmaWindowSource::connectionLost);
}

PlasmaWindowSource::~PlasmaWindowSource() {
    for (const auto &window : m_plasmaWindows)
        org_kde_plasma_window_destroy(window->handle);
    org_kde_plasma_window_management_destroy(m_manager);
}

void PlasmaWindowSource::windowAnnounced(const char *uuid) {
    auto *handle = org_kde_plasma_window_management_get_window_by_uuid(m_manager, uuid);
    auto window = std::make_unique<Window>(Window{this, handle, {}});
    window->window.id = ++m_lastId;
    window->window.source = this;
    org_kde_plasma_window_add_listener(handle, &windowListener, window.get());
    m_plasmaWindows.push_back(std::move(window));
}

void PlasmaWindowSource::windowStates(Window &window, std::uint32_t states) {
    // Plasma's own task bar leaves out what skips it; the rest are ordinary windows.
    window.window.isOrdinary = !(states & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_SKIPTASKBAR);
    // The application decides what its close request does; one that cannot be closed from its
    // title bar is not asked.
    window.window.acceptsDelete = states & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_CLOSEABLE;
    windowChanged(window);
}

void PlasmaWindowSource::windowParent(Window &window, org_kde_plasma_window *parent) {
    const auto *parentWindow =
        parent ? static_cast<const Window *>(org_kde_plasma_window_get_user_data(parent)) : nullptr;
    window.window.transientFor = parentWindow ? parentWindow->window.id : 0;
    windowChanged(window);
}

void PlasmaWindowSource::windowChanged(Window &window) {
    m_hasChanged |= window.isDescribed;
}

void PlasmaWindowSource::windowUnmapped(Window &window) {
    m_sinceLastUnmapped.start();
    m_hasChanged |= window.isDescribed;
    org_kde_plasma_window_destroy(window.handle);
    std::erase_if(m_plasmaWindows, [&window](const auto &w) { return w.get() == &window; });
}

PlasmaWindowSource::Window *PlasmaWindowSource::find(quint64 id) const {
    const auto it = std::find_if(m_plasmaWindows.begin(), m_plasmaWindows.end(),
                                 [id](const auto &w) { return w->window.id == id; });
    return it == m_plasmaWindows.end() ? nullptr : it->get();
}

void PlasmaWindowSource::publish() {
    if (!std::exchange(m_hasChanged, false))
        return;
    m_windows.clear();
    for (const auto &window : m_plasmaWindows) {
        if (window->isDescribed)
            m_windows.push_back(window->window);
    }
    emit windowsChanged();
}

bool PlasmaWindowSource::requestClose(const ClientWindow &window) {
    const Window *plasmaWindow = find(window.id);
    if (!plasmaWindow || !plasmaWindow->window.acceptsDelete || !m_connection->isAlive())
        return false;
    org_kde_plasma_window_close(plasmaWindow->handle);
    m_connection->flush();
    return m_connection->isAlive();
}

void PlasmaWindowSource::activate(const ClientWindow &window) {
    const Window *plasmaWindow = find(window.id);
    if (!plasmaWindow || !m_connection->isAlive())
        return;
    // Active, and out of the task bar if it was minimized, as a click on its task does.
    org_kde_plasma_window_set_state(plasmaWindow->handle,
                                    ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE |
                                        ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED,
                                    ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE);
    m_connection->flush();
}

void PlasmaWindowSource::connectionLost() {
    m_log.write(QStringLiteral("Quellory: lost the connection to the Wayland compositor; no "
                               "running applications are listed until the program is started "
                               "again"));
    m_windows.clear();
    emit windowsChanged();
}
