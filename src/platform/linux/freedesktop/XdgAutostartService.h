#pragma once

#include "platform/LoginItemService.h"

#include <optional>
#include <QString>

// Starting the program at login as freedesktop desktops do: a desktop entry named after the
// program in the user's autostart folder, $XDG_CONFIG_HOME/autostart. There is no approval to
// wait for and no settings pane to open.
class XdgAutostartService final : public LoginItemService {
public:
    // The user's own autostart entry, starting the program as it is installed.
    XdgAutostartService();
    // The entry at path, whose Exec line is command.
    XdgAutostartService(const QString &path, const QString &command);

    // The Exec line that starts the program at this absolute path, quoted as the Desktop Entry
    // Specification asks.
    static QString execLine(const QString &program);

    const QString &path() const { return m_path; }

    Status status() const override;
    // Writes the entry anew, also over one that the user turned off.
    std::optional<QString> registerService() override;
    // Removes the entry when it would start the program. A file that already keeps the program
    // from starting (turned off, or unreadable) is left as it is.
    std::optional<QString> unregisterService() override;
    void openSystemSettingsLoginItems() override {}

private:
    QString command() const;

    QString m_path;
    // None: the program as installed, looked up when registering.
    std::optional<QString> m_command;
};
