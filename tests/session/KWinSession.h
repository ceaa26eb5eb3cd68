#pragma once

#include "HeadlessCompositor.h"

// KWin 5.27 of KDE Plasma on a virtual output, with its Xwayland. It shares the session bus of
// the test (every Wayland test runs inside dbus-run-session), as a desktop session's programs
// share one. KWin hands its window list only to a program whose desktop entry, in an
// applications folder of $XDG_DATA_HOME or $XDG_DATA_DIRS as they are when the session starts,
// names it by its absolute path and asks for the interface; and it must be able to read that
// program's /proc entry, so the program runs as the session's user.
class KWinSession final : public HeadlessCompositor {
public:
    KWinSession();
};
