#pragma once

#include "ClientWindow.h"

#include <QImage>
#include <QObject>
#include <vector>

// The top-level windows of one window system (an X server, a Wayland compositor), with what
// they say about themselves, and the requests a task bar makes of them. Lives on the main
// thread and is read in its event loop.
class WindowSource : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // The windows as last read, oldest first; each names this source.
    virtual const std::vector<ClientWindow> &windows() const = 0;
    // Reads what the window system cannot announce by itself; emits windowsChanged when the
    // windows differ from the last read.
    virtual void refresh() {}
    // Asks a window to close as its close button would; false when the request could not be
    // sent. Only for windows that accept it.
    virtual bool requestClose(const ClientWindow &window) = 0;
    // Brings a window forward, as a task bar does.
    virtual void activate(const ClientWindow &window) = 0;
    // The window's own icon, or a null image.
    virtual QImage icon(const ClientWindow &) const { return {}; }

signals:
    void windowsChanged();
};
