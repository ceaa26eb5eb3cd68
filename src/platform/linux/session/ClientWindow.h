#pragma once

#include <QString>
#include <xcb/xcb.h>

// What a top-level window says about the application behind it.
struct ClientWindow {
    xcb_window_t id = XCB_NONE;
    qint32 processIdentifier = 0; // 0 when the process is not known
    // WM_CLASS: the instance name and the class name.
    QString instanceName;
    QString className;
    // The identifiers that toolkits state on the window.
    QString gtkApplicationId;
    QString gtkObjectPath;
    QString gtkBusName;
    QString kdeDesktopFile;
    xcb_window_t transientFor = XCB_NONE;
    // A normal or dialog window (or one without a type) that wants to be in the task bar.
    bool isOrdinary = true;
    // Lists WM_DELETE_WINDOW, so that it may be asked to close.
    bool acceptsDelete = false;
};
