#include "X11Connection.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <QSocketNotifier>
#include <xcb/res.h>

std::shared_ptr<X11Connection> X11Connection::open() {
    int screen = 0;
    xcb_connection_t *connection = xcb_connect(nullptr, &screen);
    char *host = nullptr;
    int displayNumber = 0;
    if (xcb_connection_has_error(connection) ||
        !xcb_parse_display(nullptr, &host, &displayNumber, nullptr)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    free(host);
    return std::shared_ptr<X11Connection>(new X11Connection(connection, displayNumber, screen));
}

X11Connection::X11Connection(xcb_connection_t *connection, int displayNumber, int screen)
    : m_connection(connection), m_displayNumber(displayNumber) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && screens.rem; ++i)
        xcb_screen_next(&screens);
    m_root = screens.data->root;
    const xcb_query_extension_reply_t *resource = xcb_get_extension_data(connection, &xcb_res_id);
    m_hasResourceExtension = resource && resource->present;
    internAtoms();
    m_notifier =
        new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11Connection::readEvents);
}

X11Connection::~X11Connection() {
    xcb_disconnect(m_connection);
}

bool X11Connection::isAlive() const {
    return xcb_connection_has_error(m_connection) == 0;
}

void X11Connection::internAtoms() {
    static constexpr std::array names{
        "_NET_CLIENT_LIST",
        "_NET_SUPPORTING_WM_CHECK",
        "_NET_SUPPORTED",
        "_NET_WM_PID",
        "_NET_WM_WINDOW_TYPE",
        "_NET_WM_WINDOW_TYPE_NORMAL",
        "_NET_WM_WINDOW_TYPE_DIALOG",
        "_NET_WM_STATE",
        "_NET_WM_STATE_SKIP_TASKBAR",
        "_NET_CLOSE_WINDOW",
        "_NET_ACTIVE_WINDOW",
        "_NET_WM_ICON",
        "WM_PROTOCOLS",
        "WM_DELETE_WINDOW",
        "WM_CLIENT_MACHINE",
        "UTF8_STRING",
        "_GTK_APPLICATION_ID",
        "_GTK_APPLICATION_OBJECT_PATH",
        "_GTK_UNIQUE_BUS_NAME",
        "_KDE_NET_WM_DESKTOP_FILE",
    };
    static_assert(names.size() * sizeof(xcb_atom_t) == sizeof(Atoms));
    std::array<xcb_intern_atom_cookie_t, names.size()> cookies{};
    for (size_t i = 0; i < names.size(); ++i)
        cookies[i] = xcb_intern_atom(m_connection, 0, std::strlen(names[i]), names[i]);
    auto *atoms = reinterpret_cast<xcb_atom_t *>(&m_atoms);
    awaitReplies();
    for (size_t i = 0; i < names.size(); ++i) {
        const auto answer = reply(xcb_intern_atom_reply, cookies[i]);
        atoms[i] = answer ? answer->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
}

void X11Connection::sendToRoot(xcb_window_t window, xcb_atom_t type, std::uint32_t data0,
                               std::uint32_t data1) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    message.data.data32[0] = data0;
    message.data.data32[1] = data1;
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
}

void X11Connection::requestClose(xcb_window_t window) {
    // Source 2: a pager or task bar acting for the user.
    constexpr std::uint32_t fromPager = 2;
    if (m_managerClosesWindows) {
        sendToRoot(window, m_atoms.netCloseWindow, XCB_CURRENT_TIME, fromPager);
        return;
    }
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_atoms.wmProtocols;
    message.data.data32[0] = m_atoms.wmDeleteWindow;
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(m_connection, 0, window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&message));
}

void X11Connection::activate(xcb_window_t window) {
    constexpr std::uint32_t fromPager = 2;
    sendToRoot(window, m_atoms.netActiveWindow, fromPager, XCB_CURRENT_TIME);
}

void X11Connection::flush() {
    xcb_flush(m_connection);
}

void X11Connection::awaitReplies() {
    ++m_roundTrips;
    // Waiting for a reply reads whatever events came with it into xcb's queue, where the socket
    // no longer wakes the loop for them: they are handled on the loop's next turn.
    if (!m_isDrainPending) {
        m_isDrainPending = true;
        QMetaObject::invokeMethod(this, &X11Connection::handleQueuedEvents, Qt::QueuedConnection);
    }
}

void X11Connection::handleQueuedEvents() {
    m_isDrainPending = false;
    bool hasEvents = false;
    while (xcb_generic_event_t *event = xcb_poll_for_queued_event(m_connection)) {
        hasEvents = true;
        if (m_handleEvent)
            m_handleEvent(*event);
        free(event);
    }
    if (hasEvents)
        emit eventsHandled();
}

void X11Connection::readEvents() {
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
        if (m_handleEvent)
            m_handleEvent(*event);
        free(event);
    }
    if (!isAlive()) {
        m_notifier->setEnabled(false);
        if (!m_wasLost) {
            m_wasLost = true;
            emit lost();
        }
        return;
    }
    emit eventsHandled();
}
