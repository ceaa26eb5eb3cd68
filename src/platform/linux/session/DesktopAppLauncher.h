#pragma once

#include <optional>
#include <QString>

// Starts the application of a desktop entry through GIO, which knows its field codes, Terminal=,
// D-Bus activation and the launch record in the child's environment. The child's output goes
// to /dev/null, never into ours. Blocks while the program is being spawned: call it off the main
// thread.
class DesktopAppLauncher {
public:
    // No error, or the description of what went wrong.
    static std::optional<QString> launch(const QString &path);
};
