#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <vector>

class QDBusMessage;
class SystemLog;

// The windows that GNOME Shell manages, as Quellory's own shell extension exports them on the
// session bus (GNOME offers other programs no window list of its own). Turns the extension on
// where it is installed but off; says in one line when the shell has not loaded it, and when the
// shell goes away. Lives on the main thread; reads arrive in its event loop.
class GnomeShellWindows : public QObject {
    Q_OBJECT
public:
    // What the shell knows about one window.
    struct Window {
        quint64 id = 0;
        // The shell's application id: a desktop file ID with ".desktop", or "window:N" when the
        // shell knows no application for the window.
        QString shellAppId;
        qint32 processIdentifier = 0;
        QString title;
        // The Wayland app_id, or an X11 window's class.
        QString windowClass;
        bool isWayland = false;
        bool isSkipTaskbar = false;
        // Mutter's window type in lower case: "normal", "dialog", "utility", …
        QString type;

        bool operator==(const Window &) const = default;
        // The desktop file ID that the shell names, if it names one.
        QString desktopFileId() const;
    };

    static const QString extensionUuid;

    GnomeShellWindows(QDBusConnection bus, SystemLog &log, QObject *parent = nullptr);

    // The shell's windows as last read, oldest first; empty while the extension does not answer.
    const std::vector<Window> &windows() const { return m_windows; }
    // Asks a window to close as its close button would; false when the request was not sent.
    bool close(quint64 id);
    void activate(quint64 id);

signals:
    void windowsChanged();

private slots:
    void reload();

private:
    void extensionAppeared();
    void extensionVanished();
    void startExtension();
    void answerExtensionInfo(const QVariantMap &info);
    void setWindows(std::vector<Window> windows);
    bool call(const QString &method, quint64 id);

    QDBusConnection m_bus;
    SystemLog &m_log;
    std::vector<Window> m_windows;
    bool m_isServing = false;
};
