#pragma once

#include <QColor>

// Contrast between colours as WCAG 2 measures it, and colours moved just far enough to reach
// it: themes pick their colours for their own widgets, and a dimmed or tinted colour of ours
// can fall below what a reader needs.
class Contrast {
public:
    static constexpr double text = 4.5;    // for text
    static constexpr double control = 3.0; // for a control's edge and a focus ring

    static double ratio(const QColor &a, const QColor &b);
    // A translucent colour as it shows over an opaque background.
    static QColor over(const QColor &color, const QColor &background);
    // The colour as it shows over the background, moved towards black or white, whichever stands
    // out more from the background, until it reaches the ratio.
    static QColor atLeast(const QColor &color, const QColor &background, double minimum);
};
