#pragma once

#include <QString>

// The window monitor's Wayland figures, on a headless sway with Qt clients that the bench starts
// itself: a refresh when nothing changed beside a bare round trip to the compositor, and how
// soon a toplevel's closed event reaches the list beside how long the compositor took to send
// that event after the close request.
class WaylandMonitorFigures {
public:
    // Prints the figures; false, with a line on standard error, when they cannot be measured.
    static bool print(const QString &qtWindowProgram);
};
