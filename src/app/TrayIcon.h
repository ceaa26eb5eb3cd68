#pragma once

#include <QIcon>
#include <QImage>

class QPalette;

// The tray's picture: the program's glyph, with the count of running applications on a badge
// (trays on Linux show no title beside an icon). The glyph is dark with a light edge, so that it
// shows on a light panel and a dark one alike: XEmbed trays cannot tell an icon their colour.
class TrayIcon {
public:
    static constexpr int size = 22;

    // The icon at single and double pixel density; the badge takes the theme's accent.
    static QIcon make(int count, const QPalette &palette);
    // One density: scale 1 is size × size pixels.
    static QImage draw(int count, const QPalette &palette, int scale);
};
