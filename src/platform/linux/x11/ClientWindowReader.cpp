#include "ClientWindowReader.h"

#include "DisplayTcpClients.h"
#include "X11Connection.h"

#include <algorithm>
#include <array>
#include <QCoreApplication>
#include <QSysInfo>
#include <span>
#include <xcb/res.h>

namespace {

using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, decltype(&free)>;

xcb_get_property_cookie_t requestProperty(xcb_connection_t *connection, xcb_window_t window,
                                          xcb_atom_t property, xcb_atom_t type,
                                          std::uint32_t words) {
    return xcb_get_property(connection, 0, window, property, type, 0, words);
}

template <typename Value> std::span<const Value> valuesOf(const PropertyReply &reply) {
    if (!reply || reply->format != sizeof(Value) * 8)
        return {};
    return {static_cast<const Value *>(xcb_get_property_value(reply.get())),
            size_t(xcb_get_property_value_length(reply.get())) / sizeof(Value)};
}

QString textOf(const PropertyReply &reply) {
    auto bytes = valuesOf<char>(reply);
    while (!bytes.empty() && bytes.back() == '\0')
        bytes = bytes.first(bytes.size() - 1);
    return QString::fromUtf8(bytes.data(), qsizetype(bytes.size()));
}

// WM_CLASS holds two texts, each ended by a zero byte.
std::pair<QString, QString> classOf(const PropertyReply &reply) {
    const auto bytes = valuesOf<char>(reply);
    const auto end = std::find(bytes.begin(), bytes.end(), '\0');
    QString instance = QString::fromUtf8(bytes.data(), end - bytes.begin());
    if (end == bytes.end())
        return {instance, QString()};
    const auto classEnd = std::find(end + 1, bytes.end(), '\0');
    return {instance, QString::fromUtf8(&*(end + 1), classEnd - end - 1)};
}

bool holds(std::span<const xcb_atom_t> atoms, xcb_atom_t atom) {
    return std::find(atoms.begin(), atoms.end(), atom) != atoms.end();
}

} // namespace

ClientWindowReader::ClientWindowReader(X11Connection &connection)
    : m_connection(connection), m_hostName(QSysInfo::machineHostName()) {}

xcb_window_t ClientWindowReader::windowManagerCheck() {
    xcb_connection_t *c = m_connection.raw();
    const auto &atoms = m_connection.atoms();
    const auto cookie =
        requestProperty(c, m_connection.root(), atoms.netSupportingWmCheck, XCB_ATOM_WINDOW, 1);
    m_connection.awaitReplies();
    const auto rootReply = m_connection.reply(xcb_get_property_reply, cookie);
    const auto windows = valuesOf<xcb_window_t>(rootReply);
    if (windows.empty())
        return XCB_NONE;
    // A manager that died leaves the root's property behind; its own window answers only while
    // it lives.
    const xcb_window_t check = windows.front();
    const auto checkCookie =
        requestProperty(c, check, atoms.netSupportingWmCheck, XCB_ATOM_WINDOW, 1);
    m_connection.awaitReplies();
    const auto checkReply = m_connection.reply(xcb_get_property_reply, checkCookie);
    const auto confirmed = valuesOf<xcb_window_t>(checkReply);
    return !confirmed.empty() && confirmed.front() == check ? check : XCB_NONE;
}

bool ClientWindowReader::managerClosesWindows() {
    const auto cookie = requestProperty(m_connection.raw(), m_connection.root(),
                                        m_connection.atoms().netSupported, XCB_ATOM_ATOM, 4096);
    m_connection.awaitReplies();
    const auto reply = m_connection.reply(xcb_get_property_reply, cookie);
    return holds(valuesOf<xcb_atom_t>(reply), m_connection.atoms().netCloseWindow);
}

std::optional<std::vector<xcb_window_t>> ClientWindowReader::managedWindows() {
    const auto cookie =
        requestProperty(m_connection.raw(), m_connection.root(), m_connection.atoms().netClientList,
                        XCB_ATOM_WINDOW, UINT32_MAX / 4);
    m_connection.awaitReplies();
    const auto reply = m_connection.reply(xcb_get_property_reply, cookie);
    if (!reply)
        return std::nullopt;
    const auto windows = valuesOf<xcb_window_t>(reply);
    return std::vector<xcb_window_t>(windows.begin(), windows.end());
}

std::vector<xcb_window_t> ClientWindowReader::mappedWindows() {
    xcb_connection_t *c = m_connection.raw();
    const auto treeCookie = xcb_query_tree(c, m_connection.root());
    m_connection.awaitReplies();
    const auto tree = m_connection.reply(xcb_query_tree_reply, treeCookie);
    if (!tree)
        return {};
    const std::span children(xcb_query_tree_children(tree.get()),
                             size_t(xcb_query_tree_children_length(tree.get())));
    std::vector<xcb_get_window_attributes_cookie_t> cookies;
    cookies.reserve(children.size());
    for (const xcb_window_t child : children)
        cookies.push_back(xcb_get_window_attributes(c, child));
    m_connection.awaitReplies();
    std::vector<xcb_window_t> mapped;
    for (size_t i = 0; i < children.size(); ++i) {
        const auto attributes = m_connection.reply(xcb_get_window_attributes_reply, cookies[i]);
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
            !attributes->override_redirect && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
            mapped.push_back(children[i]);
    }
    return mapped;
}

std::vector<ClientWindow> ClientWindowReader::read(const std::vector<xcb_window_t> &windows) {
    if (windows.empty())
        return {};
    xcb_connection_t *c = m_connection.raw();
    const auto &atoms = m_connection.atoms();
    enum Property {
        wmClass,
        protocols,
        windowType,
        state,
        transientFor,
        gtkApplicationId,
        gtkObjectPath,
        gtkBusName,
        kdeDesktopFile,
        netWmPid,
        clientMachine,
        propertyCount
    };
    const std::array<std::pair<xcb_atom_t, xcb_atom_t>, propertyCount> requested{{
        {XCB_ATOM_WM_CLASS, XCB_ATOM_STRING},
        {atoms.wmProtocols, XCB_ATOM_ATOM},
        {atoms.netWmWindowType, XCB_ATOM_ATOM},
        {atoms.netWmState, XCB_ATOM_ATOM},
        {XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW},
        {atoms.gtkApplicationId, atoms.utf8String},
        {atoms.gtkApplicationObjectPath, atoms.utf8String},
        {atoms.gtkUniqueBusName, atoms.utf8String},
        {atoms.kdeNetWmDesktopFile, XCB_GET_PROPERTY_TYPE_ANY},
        {atoms.netWmPid, XCB_ATOM_CARDINAL},
        {atoms.wmClientMachine, XCB_GET_PROPERTY_TYPE_ANY},
    }};
    struct Requests {
        std::array<xcb_get_property_cookie_t, propertyCount> properties;
        xcb_res_query_client_ids_cookie_t clientIds;
    };
    std::vector<Requests> requests(windows.size());
    for (size_t w = 0; w < windows.size(); ++w) {
        for (size_t p = 0; p < propertyCount; ++p)
            requests[w].properties[p] =
                requestProperty(c, windows[w], requested[p].first, requested[p].second, 256);
        if (m_connection.hasResourceExtension()) {
            const xcb_res_client_id_spec_t spec{windows[w],
                                                XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
            requests[w].clientIds = xcb_res_query_client_ids(c, 1, &spec);
        }
    }
    m_connection.awaitReplies();
    std::vector<ClientWindow> result(windows.size());
    std::optional<std::vector<qint32>> tcpClients;
    for (size_t w = 0; w < windows.size(); ++w) {
        std::vector<PropertyReply> replies;
        replies.reserve(propertyCount);
        for (const auto cookie : requests[w].properties)
            replies.push_back(m_connection.reply(xcb_get_property_reply, cookie));
        ClientWindow &window = result[w];
        window.id = windows[w];
        std::tie(window.instanceName, window.className) = classOf(replies[wmClass]);
        window.acceptsDelete =
            holds(valuesOf<xcb_atom_t>(replies[protocols]), atoms.wmDeleteWindow);
        const auto types = valuesOf<xcb_atom_t>(replies[windowType]);
        const bool hasOrdinaryType = types.empty() ||
                                     types.front() == atoms.netWmWindowTypeNormal ||
                                     types.front() == atoms.netWmWindowTypeDialog;
        window.isOrdinary = hasOrdinaryType && !holds(valuesOf<xcb_atom_t>(replies[state]),
                                                      atoms.netWmStateSkipTaskbar);
        const auto parents = valuesOf<xcb_window_t>(replies[transientFor]);
        window.transientFor = parents.empty() ? XCB_NONE : parents.front();
        window.gtkApplicationId = textOf(replies[gtkApplicationId]);
        window.gtkObjectPath = textOf(replies[gtkObjectPath]);
        window.gtkBusName = textOf(replies[gtkBusName]);
        window.kdeDesktopFile = textOf(replies[kdeDesktopFile]);
        if (m_connection.hasResourceExtension()) {
            const auto ids =
                m_connection.reply(xcb_res_query_client_ids_reply, requests[w].clientIds);
            for (auto it = ids ? xcb_res_query_client_ids_ids_iterator(ids.get())
                               : xcb_res_client_id_value_iterator_t{};
                 it.rem; xcb_res_client_id_value_next(&it)) {
                if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) &&
                    xcb_res_client_id_value_value_length(it.data) > 0)
                    window.processIdentifier = qint32(*xcb_res_client_id_value_value(it.data));
            }
        }
        // A pid that a client states is only worth believing when it runs on this machine.
        const auto statedPids = valuesOf<std::uint32_t>(replies[netWmPid]);
        if (window.processIdentifier <= 0 && !statedPids.empty() &&
            textOf(replies[clientMachine]) == m_hostName)
            window.processIdentifier = believedProcess(statedPids.front(), tcpClients);
    }
    return result;
}

qint32 ClientWindowReader::believedProcess(std::uint32_t stated,
                                           std::optional<std::vector<qint32>> &tcpClients) const {
    const qint64 own = QCoreApplication::applicationPid();
    if (stated != own)
        return qint32(stated);
    // A window that names this program, of a client whose pid the server cannot tell, is
    // another program's over TCP, hiding: the server gives the pid of this program's own
    // windows. Its process holds a connection to the display; it is named only when it is the
    // one such process, and not this one.
    if (!tcpClients)
        tcpClients = DisplayTcpClients::of(m_connection.displayNumber());
    return tcpClients->size() == 1 && tcpClients->front() != own ? tcpClients->front() : 0;
}
