#pragma once

#include <cstdint>
#include <memory>
#include <QByteArray>
#include <QObject>
#include <vector>

struct wl_display;
struct wl_interface;
struct wl_registry;
struct wl_seat;
class QSocketNotifier;

// Our own connection to the Wayland compositor, read inside the Qt event loop: its socket wakes
// the loop when events arrive, and they are dispatched there. Separate from the connection that
// Qt's windows use, so that our objects never wait on the window's frames.
class WaylandConnection final : public QObject {
    Q_OBJECT
public:
    struct Global {
        std::uint32_t name;
        QByteArray interface;
        std::uint32_t version;
    };

    // Connects to the compositor named by $WAYLAND_DISPLAY and learns its globals; none when
    // there is no compositor to reach.
    static std::unique_ptr<WaylandConnection> open();
    ~WaylandConnection() override;

    // The global of that interface, or none.
    const Global *global(const char *interface) const;
    // Binds a global at the highest version both sides speak, up to `version`.
    void *bind(const Global &global, const wl_interface *interface, std::uint32_t version);
    // The first seat, bound when first needed; null when the compositor has none.
    wl_seat *seat();
    // Waits until the compositor has answered everything sent so far, dispatching its events.
    bool roundtrip();
    void flush();
    bool isAlive() const { return !m_wasLost; }

signals:
    // A batch of events has been dispatched.
    void eventsHandled();
    // The compositor went away; sent once.
    void lost();

private:
    explicit WaylandConnection(wl_display *display);
    void readEvents();
    void markLost();

    wl_display *m_display;
    wl_registry *m_registry = nullptr;
    wl_seat *m_seat = nullptr;
    std::vector<Global> m_globals;
    QSocketNotifier *m_notifier = nullptr;
    bool m_wasLost = false;
};
