// A client with one plain top-level window that does not list WM_DELETE_WINDOW, as some old
// programs still are: asking its window manager to close such a window destroys it. It runs
// until its X server goes.
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

int main() {
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    const char wmClass[] = "bare-window\0BareWindow";
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, sizeof(wmClass), wmClass);
    xcb_map_window(connection, window);
    xcb_flush(connection);
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection))
        std::free(event);
    xcb_disconnect(connection);
    return 0;
}
