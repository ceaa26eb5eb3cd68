#pragma once

#include <QPointer>
#include <QString>

class WindowSource;

// What a top-level window says about the application behind it, in the same terms for every
// window system: X11 fills in its window class and the ids toolkits state, a Wayland compositor
// the toplevel's app_id.
struct ClientWindow {
    // The window system's own name for the window, unique within its source.
    quint64 id = 0;
    // Who lists the window, and reads, closes and raises it.
    QPointer<WindowSource> source;
    qint32 processIdentifier = 0; // 0 when the process is not known
    // WM_CLASS: the instance name and the class name.
    QString instanceName;
    QString className;
    // A Wayland toplevel's app_id: both a window class and the id the application states.
    QString appId;
    QString title;
    // The identifiers that toolkits state on the window.
    QString gtkApplicationId;
    QString gtkObjectPath;
    QString gtkBusName;
    QString kdeDesktopFile;
    // The window this one serves (a dialog's main window), or 0.
    quint64 transientFor = 0;
    // A normal or dialog window (or one without a type) that wants to be in the task bar.
    bool isOrdinary = true;
    // May be asked to close: an X11 window must list WM_DELETE_WINDOW, or its window manager
    // would kill it; a Wayland toplevel always may, and its application decides.
    bool acceptsDelete = false;

    // Every fact alike, the source too.
    bool operator==(const ClientWindow &) const;
};
