#pragma once

#include "WindowSource.h"

#include <QDBusConnection>
#include <QString>

class SystemLog;

// The windows that GNOME Shell manages, as Quellory's own shell extension exports them on the
// session bus (GNOME offers other programs no window list of its own), with the shell's own
// application id as the id each window states. X11 windows are left to the X11 code. Turns the
// extension on where it is installed but off; says in one line when the shell has not loaded it,
// and when the shell goes away. Lives on the main thread; reads arrive in its event loop.
class GnomeShellWindows final : public WindowSource {
    Q_OBJECT
public:
    static const QString extensionUuid;

    GnomeShellWindows(QDBusConnection bus, SystemLog &log, QObject *parent = nullptr);

    // Empty while the extension does not answer.
    const std::vector<ClientWindow> &windows() const override { return m_windows; }
    bool requestClose(const ClientWindow &window) override;
    void activate(const ClientWindow &window) override;
    // Whether the extension answers.
    bool isServing() const { return m_isServing; }

signals:
    void servingChanged();

private slots:
    void reload();
    void extensionStateChanged(const QString &uuid, const QVariantMap &info);

private:
    void extensionAppeared();
    void extensionVanished();
    void startExtension();
    void answerExtensionInfo(const QVariantMap &info);
    void enableExtension();
    void setWindows(std::vector<ClientWindow> windows);
    bool call(const QString &method, quint64 id);

    QDBusConnection m_bus;
    SystemLog &m_log;
    std::vector<ClientWindow> m_windows;
    bool m_isServing = false;
};
