#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <QObject>
#include <QString>
#include <xcb/xcb.h>

class QSocketNotifier;

// Our own connection to the X server, read inside the Qt event loop: its socket wakes the loop
// when events arrive, and nothing ever polls it. Requests that need an answer are sent together
// and their replies collected afterwards, so that a batch costs one round trip; the number of
// those waits is counted, for the benchmarks.
class X11Connection final : public QObject {
    Q_OBJECT
public:
    struct Atoms {
        xcb_atom_t netClientList, netSupportingWmCheck, netSupported, netWmPid, netWmWindowType,
            netWmWindowTypeNormal, netWmWindowTypeDialog, netWmState, netWmStateSkipTaskbar,
            netCloseWindow, netActiveWindow, netWmIcon, wmProtocols, wmDeleteWindow,
            wmClientMachine, utf8String, gtkApplicationId, gtkApplicationObjectPath,
            gtkUniqueBusName, kdeNetWmDesktopFile;
    };

    // Connects to the display named by $DISPLAY; none when there is no X server to reach.
    static std::shared_ptr<X11Connection> open();
    ~X11Connection() override;

    xcb_connection_t *raw() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    const Atoms &atoms() const { return m_atoms; }
    // False once the server has gone; the connection is of no use after that.
    bool isAlive() const;
    bool hasResourceExtension() const { return m_hasResourceExtension; }
    // The number of the display, as $DISPLAY names it.
    int displayNumber() const { return m_displayNumber; }

    // Marks the start of collecting the replies of a batch of requests: one round trip.
    void awaitReplies();
    // The reply of a request sent earlier, or none when it failed.
    template <typename Reply, typename Cookie>
    std::unique_ptr<Reply, decltype(&free)>
    reply(Reply *(*receive)(xcb_connection_t *, Cookie, xcb_generic_error_t **), Cookie cookie) {
        return {receive(m_connection, cookie, nullptr), &free};
    }
    std::uint64_t roundTrips() const { return m_roundTrips; }

    // Whether a window manager runs that closes windows on request.
    void setManagerClosesWindows(bool closesWindows) { m_managerClosesWindows = closesWindows; }
    // Asks a window to close as its close button would: through the window manager where one
    // runs, else with WM_DELETE_WINDOW itself. Only for windows that list WM_DELETE_WINDOW:
    // managers destroy the others.
    void requestClose(xcb_window_t window);
    // Brings a window forward, as a task bar does.
    void activate(xcb_window_t window);
    void flush();

    // Receives every event as it is read.
    void setEventHandler(std::function<void(const xcb_generic_event_t &)> handler) {
        m_handleEvent = std::move(handler);
    }

signals:
    // A batch of events has been handed to the event handler.
    void eventsHandled();
    // The server went away; sent once.
    void lost();

private:
    X11Connection(xcb_connection_t *connection, int displayNumber, int screen);
    void readEvents();
    void handleQueuedEvents();
    void sendToRoot(xcb_window_t window, xcb_atom_t type, std::uint32_t data0,
                    std::uint32_t data1 = 0);
    void internAtoms();

    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_NONE;
    Atoms m_atoms{};
    int m_displayNumber;
    bool m_hasResourceExtension = false;
    bool m_wasLost = false;
    bool m_managerClosesWindows = false;
    bool m_isDrainPending = false;
    std::uint64_t m_roundTrips = 0;
    QSocketNotifier *m_notifier = nullptr;
    std::function<void(const xcb_generic_event_t &)> m_handleEvent;
};
