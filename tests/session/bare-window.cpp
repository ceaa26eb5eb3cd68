// A client with plain top-level windows that do not list WM_DELETE_WINDOW, as some old programs
// still are: asking its window manager to close such a window destroys it.
//   quellory-bare-window [WINDOWS [LIFETIME_MS [NAME[:TYPE]=VALUE]...]]
// opens WINDOWS windows (one by default) and runs until its X server goes, or leaves on its own
// after LIFETIME_MS (0: never), so that a benchmark can watch processes end without sending
// signals. Each further argument sets a property on every window, in place of the default
// WM_CLASS: TYPE is UTF8_STRING (the default), STRING (a comma separates the strings of a list)
// or CARDINAL. It states its pid and host, as Xlib programs do, for servers that do not tell a
// client's pid (Xwayland), and paints its background, without which a compositor never shows it.
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

struct Property {
    xcb_atom_t name;
    xcb_atom_t type;
    std::uint8_t format;
    std::string value;
};

xcb_atom_t atom(xcb_connection_t *connection, const std::string &name) {
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, std::uint16_t(name.size()), name.c_str()),
        nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

Property parse(xcb_connection_t *connection, const std::string &argument) {
    const size_t equals = argument.find('='), colon = argument.find(':');
    const bool isTyped = colon < equals;
    const std::string type = isTyped ? argument.substr(colon + 1, equals - colon - 1) : "";
    Property property{atom(connection, argument.substr(0, isTyped ? colon : equals)),
                      atom(connection, isTyped ? type : "UTF8_STRING"), 8,
                      argument.substr(equals + 1)};
    if (type == "CARDINAL") {
        const std::uint32_t number =
            std::uint32_t(std::strtoul(property.value.c_str(), nullptr, 10));
        property.value.assign(reinterpret_cast<const char *>(&number), sizeof number);
        property.format = 32;
    } else if (type == "STRING") {
        for (char &c : property.value)
            c = c == ',' ? '\0' : c;
        property.value += '\0';
    }
    return property;
}

} // namespace

int main(int argc, char **argv) {
    const int windowCount = argc > 1 ? std::atoi(argv[1]) : 1;
    const int lifetimeMs = argc > 2 ? std::atoi(argv[2]) : 0;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    std::vector<Property> properties;
    for (int i = 3; i < argc; ++i)
        properties.push_back(parse(connection, argv[i]));
    if (properties.empty())
        properties.push_back(
            {XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, std::string("bare-window\0BareWindow", 22)});
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    xcb_intern_atom_reply_t *pidAtom = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, 11, "_NET_WM_PID"), nullptr);
    const std::uint32_t pid = std::uint32_t(getpid());
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    for (int i = 0; i < windowCount; ++i) {
        const xcb_window_t window = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL,
                          &screen->white_pixel);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLIENT_MACHINE,
                            XCB_ATOM_STRING, 8, std::uint32_t(std::strlen(host)), host);
        if (pidAtom)
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, pidAtom->atom,
                                XCB_ATOM_CARDINAL, 32, 1, &pid);
        for (const Property &property : properties)
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property.name,
                                property.type, property.format,
                                std::uint32_t(property.value.size() * 8 / property.format),
                                property.value.data());
        xcb_map_window(connection, window);
    }
    std::free(pidAtom);
    xcb_flush(connection);
    if (lifetimeMs > 0) {
        // The windows select no events, so nothing needs reading meanwhile.
        std::this_thread::sleep_for(std::chrono::milliseconds(lifetimeMs));
    } else {
        while (xcb_generic_event_t *event = xcb_wait_for_event(connection))
            std::free(event);
    }
    xcb_disconnect(connection);
    return 0;
}
