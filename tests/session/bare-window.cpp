// A client with plain top-level windows that do not list WM_DELETE_WINDOW, as some old programs
// still are: asking its window manager to close such a window destroys it.
//   quellory-bare-window [WINDOWS [LIFETIME_MS]]
// opens WINDOWS windows (one by default) and runs until its X server goes, or leaves on its own
// after LIFETIME_MS, so that a benchmark can watch processes end without sending signals.
#include <chrono>
#include <cstdlib>
#include <thread>
#include <xcb/xcb.h>

int main(int argc, char **argv) {
    const int windowCount = argc > 1 ? std::atoi(argv[1]) : 1;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    for (int i = 0; i < windowCount; ++i) {
        const xcb_window_t window = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
        const char wmClass[] = "bare-window\0BareWindow";
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                            XCB_ATOM_STRING, 8, sizeof(wmClass), wmClass);
        xcb_map_window(connection, window);
    }
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
