#pragma once

#include "WindowSource.h"

#include <functional>
#include <QString>
#include <sys/types.h>
#include <unistd.h>

// The applications that the desktop started in systemd units of their own, for a session whose
// windows cannot be read: GNOME and KDE start every application in an "app-…" unit named after
// its desktop entry, which the user's processes' cgroups show. Each stands as one window of the
// unit's first process, stating that entry, which no one can ask to close: such an application
// quits only through its own quit action on the session bus.
class ApplicationUnits final : public WindowSource {
    Q_OBJECT
public:
    // Whether a desktop file ID names an installed application. Desktops start the helpers of
    // their own autostart in such units too, which are no applications to the user.
    using IsApplication = std::function<bool(const QString &desktopFileId)>;

    // Reads the processes of one user under a proc file system.
    explicit ApplicationUnits(IsApplication isApplication,
                              QString procRoot = QStringLiteral("/proc"), uid_t user = getuid(),
                              QObject *parent = nullptr);

    // One per unit, in the order of their units' names; none while switched off.
    const std::vector<ClientWindow> &windows() const override { return m_windows; }
    // Reads /proc again.
    void refresh() override;
    bool requestClose(const ClientWindow &) override { return false; }
    void activate(const ClientWindow &) override {}
    // Switched off, it lists nothing: for when the windows themselves can be read.
    void setEnabled(bool isEnabled);

private:
    std::vector<ClientWindow> read() const;

    IsApplication m_isApplication;
    QString m_procRoot;
    uid_t m_user;
    bool m_isEnabled = true;
    std::vector<ClientWindow> m_windows;
};
