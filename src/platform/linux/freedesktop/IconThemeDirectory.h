#pragma once

#include <QString>

// One directory of an icon theme and the icon sizes it serves, as its section of index.theme
// describes them (Icon Theme Specification).
struct IconThemeDirectory {
    enum class Type { Fixed, Scalable, Threshold };

    QString path; // relative to the theme's folder
    int size = 0;
    int scale = 1;
    Type type = Type::Threshold;
    int minSize = 0;
    int maxSize = 0;
    int threshold = 2;

    // The directory's icons are made for this size and scale.
    bool matchesSize(int iconSize, int iconScale) const;
    // How far, in pixels, the directory's icons are from this size and scale.
    int sizeDistance(int iconSize, int iconScale) const;
};
