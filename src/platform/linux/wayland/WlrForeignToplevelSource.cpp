#include "WlrForeignToplevelSource.h"

#include "platform/SystemLog.h"
#include "ToplevelProcesses.h"
#include "WaylandConnection.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

#include <algorithm>
#include <wayland-client.h>

namespace {

using Toplevel = WlrForeignToplevelSource::Toplevel;

Toplevel &toplevelOf(void *data) {
    return *static_cast<Toplevel *>(data);
}

void onTitle(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *title) {
    toplevelOf(data).window.title = QString::fromUtf8(title);
}

void onAppId(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *appId) {
    ClientWindow &window = toplevelOf(data).window;
    window.appId = QString::fromUtf8(appId);
    window.className = window.appId;
}

void onOutput(void *, zwlr_foreign_toplevel_handle_v1 *, wl_output *) {}

// The states say nothing of task bars: every toplevel is an ordinary window.
void onState(void *, zwlr_foreign_toplevel_handle_v1 *, wl_array *) {}

void onDone(void *data, zwlr_foreign_toplevel_handle_v1 *) {
    toplevelOf(data).source->toplevelDone(toplevelOf(data));
}

void onClosed(void *data, zwlr_foreign_toplevel_handle_v1 *) {
    toplevelOf(data).source->toplevelClosed(toplevelOf(data));
}

void onParent(void *data, zwlr_foreign_toplevel_handle_v1 *,
              zwlr_foreign_toplevel_handle_v1 *parent) {
    toplevelOf(data).source->toplevelParent(toplevelOf(data), parent);
}

constexpr zwlr_foreign_toplevel_handle_v1_listener toplevelListener{
    onTitle, onAppId, onOutput, onOutput, onState, onDone, onClosed, onParent};

void onToplevel(void *data, zwlr_foreign_toplevel_manager_v1 *,
                zwlr_foreign_toplevel_handle_v1 *handle) {
    static_cast<WlrForeignToplevelSource *>(data)->toplevelAnnounced(handle);
}

void onFinished(void *data, zwlr_foreign_toplevel_manager_v1 *) {
    static_cast<WlrForeignToplevelSource *>(data)->managerFinished();
}

constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener{onToplevel, onFinished};

} // namespace

std::unique_ptr<WlrForeignToplevelSource>
WlrForeignToplevelSource::listen(std::shared_ptr<WaylandConnection> connection, SystemLog &log) {
    const auto *global = connection->global("zwlr_foreign_toplevel_manager_v1");
    if (!global)
        return nullptr;
    auto *manager = static_cast<zwlr_foreign_toplevel_manager_v1 *>(
        connection->bind(*global, &zwlr_foreign_toplevel_manager_v1_interface, 3));
    std::unique_ptr<WlrForeignToplevelSource> source(
        new WlrForeignToplevelSource(std::move(connection), manager, log));
    // The toplevels that are open now, each described up to its first done.
    source->m_connection->roundtrip();
    source->publish();
    return source;
}

WlrForeignToplevelSource::WlrForeignToplevelSource(std::shared_ptr<WaylandConnection> connection,
                                                   zwlr_foreign_toplevel_manager_v1 *manager,
                                                   SystemLog &log)
    : m_connection(std::move(connection)), m_manager(manager), m_log(log) {
    zwlr_foreign_toplevel_manager_v1_add_listener(m_manager, &managerListener, this);
    connect(m_connection.get(), &WaylandConnection::eventsHandled, this,
            &WlrForeignToplevelSource::publish);
    connect(m_connection.get(), &WaylandConnection::lost, this,
            &WlrForeignToplevelSource::connectionLost);
}

WlrForeignToplevelSource::~WlrForeignToplevelSource() {
    for (const auto &toplevel : m_toplevels)
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel->handle);
    if (m_manager)
        zwlr_foreign_toplevel_manager_v1_destroy(m_manager);
}

void WlrForeignToplevelSource::toplevelAnnounced(zwlr_foreign_toplevel_handle_v1 *handle) {
    auto toplevel = std::make_unique<Toplevel>(Toplevel{this, handle, {}});
    toplevel->window.id = wl_proxy_get_id(reinterpret_cast<wl_proxy *>(handle));
    toplevel->window.source = this;
    toplevel->window.acceptsDelete = true;
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &toplevelListener, toplevel.get());
    m_toplevels.push_back(std::move(toplevel));
}

void WlrForeignToplevelSource::toplevelParent(Toplevel &toplevel,
                                              zwlr_foreign_toplevel_handle_v1 *parent) {
    toplevel.window.transientFor =
        parent ? wl_proxy_get_id(reinterpret_cast<wl_proxy *>(parent)) : 0;
}

void WlrForeignToplevelSource::toplevelDone(Toplevel &toplevel) {
    toplevel.isDescribed = true;
    m_hasChanged = true;
}

void WlrForeignToplevelSource::toplevelClosed(Toplevel &toplevel) {
    m_sinceLastClosed.start();
    zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    std::erase_if(m_toplevels, [&toplevel](const auto &t) { return t.get() == &toplevel; });
    m_hasChanged = true;
}

void WlrForeignToplevelSource::managerFinished() {
    zwlr_foreign_toplevel_manager_v1_destroy(m_manager);
    m_manager = nullptr;
}

WlrForeignToplevelSource::Toplevel *WlrForeignToplevelSource::find(quint64 id) const {
    const auto it = std::find_if(m_toplevels.begin(), m_toplevels.end(),
                                 [id](const auto &t) { return t->window.id == id; });
    return it == m_toplevels.end() ? nullptr : it->get();
}

void WlrForeignToplevelSource::publish() {
    if (!std::exchange(m_hasChanged, false))
        return;
    std::vector<Toplevel *> unknown;
    std::vector<const ClientWindow *> unknownWindows;
    for (const auto &toplevel : m_toplevels) {
        if (toplevel->isDescribed && !toplevel->isSearched) {
            toplevel->isSearched = true;
            unknown.push_back(toplevel.get());
            unknownWindows.push_back(&toplevel->window);
        }
    }
    if (!unknown.empty()) {
        const auto found = ToplevelProcesses::find(unknownWindows);
        for (size_t i = 0; i < unknown.size(); ++i) {
            unknown[i]->window.processIdentifier = found[i].processIdentifier;
            unknown[i]->isXwayland = found[i].isXwayland;
        }
    }
    m_windows.clear();
    for (const auto &toplevel : m_toplevels) {
        if (toplevel->isDescribed && !toplevel->isXwayland)
            m_windows.push_back(toplevel->window);
    }
    emit windowsChanged();
}

bool WlrForeignToplevelSource::requestClose(const ClientWindow &window) {
    Toplevel *toplevel = find(window.id);
    if (!toplevel || !m_connection->isAlive())
        return false;
    zwlr_foreign_toplevel_handle_v1_close(toplevel->handle);
    m_connection->flush();
    return m_connection->isAlive();
}

void WlrForeignToplevelSource::activate(const ClientWindow &window) {
    Toplevel *toplevel = find(window.id);
    wl_seat *seat = m_connection->seat();
    if (!toplevel || !seat)
        return;
    zwlr_foreign_toplevel_handle_v1_activate(toplevel->handle, seat);
    m_connection->flush();
}

void WlrForeignToplevelSource::connectionLost() {
    m_log.write(QStringLiteral("Quellory: lost the connection to the Wayland compositor; no "
                               "running applications are listed until the program is started "
                               "again"));
    m_windows.clear();
    emit windowsChanged();
}
