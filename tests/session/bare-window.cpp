// A client with plain top-level windows that do not list WM_DELETE_WINDOW, as some old programs
// still are: asking its window manager to close such a window destroys it.
//   quellory-bare-window [WINDOWS [LIFETIME_MS]]
// opens WINDOWS windows (one by default) and runs until its X server goes, or leaves on its own
// after LIFETIME_MS, so that a benchmark can watch processes end without sending signals. It
// states its pid and host, as Xlib programs do, for servers that do not tell a client's pid
// (Xwayland), and paints its background, without which a compositor never shows it.
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>

int main(int argc, char **argv) {
    const int windowCount = argc > 1 ? std::atoi(argv[1]) : 1;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
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
        const char wmClass[] = "bare-window\0BareWindow";
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                            XCB_ATOM_STRING, 8, sizeof(wmClass), wmClass);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLIENT_MACHINE,
                            XCB_ATOM_STRING, 8, std::uint32_t(std::strlen(host)), host);
        if (pidAtom)
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, pidAtom->atom,
                                XCB_ATOM_CARDINAL, 32, 1, &pid);
        xcb_map_window(connection, window);
    }
    std::free(pidAtom);
    xcb_flush(connection);
    if (argc > 2) {
        // The windows select no events, so nothing needs reading meanwhile.
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[2])));
    } else {
        while (xcb_generic_event_t *event = xcb_wait_for_event(connection))
            std::free(event);
    }
    xcb_disconnect(connection);
    return 0;
}
