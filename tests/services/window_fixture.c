/* A test program with one top-level window, for the process-list and
 * full-screen tests:
 *
 *   window_fixture [--class CLASS] [--title TITLE] [--gtk-id ID]
 *
 * Sets WM_CLASS (instance and class CLASS, default "WindowFixture"),
 * _NET_WM_PID, WM_NAME and optionally _GTK_APPLICATION_ID, maps the window at
 * the screen's bottom right (a user-given position) and runs until killed or until the X connection breaks. */
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static xcb_atom_t intern(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, (uint16_t)strlen(name), name), NULL);
    xcb_atom_t atom = reply != NULL ? reply->atom : XCB_ATOM_NONE;
    free(reply);
    return atom;
}

int main(int argc, char **argv)
{
    const char *windowClass = "WindowFixture";
    const char *title = "window fixture";
    const char *gtkId = NULL;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (strcmp(argv[i], "--class") == 0)
            windowClass = argv[i + 1];
        else if (strcmp(argv[i], "--title") == 0)
            title = argv[i + 1];
        else if (strcmp(argv[i], "--gtk-id") == 0)
            gtkId = argv[i + 1];
    }
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(NULL, &screenNumber);
    if (xcb_connection_has_error(connection)) return 1;
    xcb_ewmh_connection_t ewmh;
    if (!xcb_ewmh_init_atoms_replies(&ewmh, xcb_ewmh_init_atoms(connection, &ewmh), NULL)) return 1;
    xcb_screen_t *screen = ewmh.screens[screenNumber];
    xcb_window_t window = xcb_generate_id(connection);
    uint32_t values[] = {screen->white_pixel};
    /* Bottom right, away from the windows other tests draw and photograph. */
    const int16_t x = (int16_t)(screen->width_in_pixels - 260), y = (int16_t)(screen->height_in_pixels - 200);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, x, y, 240, 160, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL, values);
    /* WM_CLASS is two NUL-terminated strings: instance, class. */
    size_t length = strlen(windowClass);
    char *classes = malloc(2 * (length + 1));
    if (classes == NULL) return 1;
    memcpy(classes, windowClass, length + 1);
    memcpy(classes + length + 1, windowClass, length + 1);
    xcb_icccm_set_wm_class(connection, window, (uint32_t)(2 * (length + 1)), classes);
    free(classes);
    xcb_size_hints_t hints;
    memset(&hints, 0, sizeof hints);
    xcb_icccm_size_hints_set_position(&hints, 1, x, y);
    xcb_icccm_set_wm_normal_hints(connection, window, &hints);
    xcb_icccm_set_wm_name(connection, window, XCB_ATOM_STRING, 8, (uint32_t)strlen(title), title);
    xcb_ewmh_set_wm_pid(&ewmh, window, (uint32_t)getpid());
    if (gtkId != NULL)
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, intern(connection, "_GTK_APPLICATION_ID"),
                            ewmh.UTF8_STRING, 8, (uint32_t)strlen(gtkId), gtkId);
    xcb_map_window(connection, window);
    xcb_flush(connection);
    printf("%u\n", window);
    fflush(stdout);
    xcb_generic_event_t *event;
    while ((event = xcb_wait_for_event(connection)) != NULL)
        free(event);
    xcb_ewmh_connection_wipe(&ewmh);
    xcb_disconnect(connection);
    return 0;
}
