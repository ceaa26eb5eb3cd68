#pragma once

#include <QString>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

// The applications that the desktop started in systemd units of their own: GNOME and KDE start
// every application in an "app-…" unit named after its desktop entry. This finds them through
// the user's processes' cgroups where no window list can be had.
class ApplicationUnits {
public:
    struct Application {
        // The unit's name, which tells two instances of one application apart.
        QString unit;
        QString desktopFileId;
        // The unit's first process: the application itself, not a helper it started.
        qint32 processIdentifier = 0;

        bool operator==(const Application &) const = default;
    };

    // Reads the processes of one user under a proc file system.
    explicit ApplicationUnits(QString procRoot = QStringLiteral("/proc"), uid_t user = getuid());

    // The applications now, one per unit, in the order of their units' names.
    std::vector<Application> read() const;

private:
    QString m_procRoot;
    uid_t m_user;
};
