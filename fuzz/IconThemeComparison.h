#pragma once

#include <string>
#include <string_view>

// The icon theme's reading of index.theme set against GKeyFile on one file: whether the theme
// loads, the themes it inherits from, and each directory's sizes and type.
class IconThemeComparison {
public:
    // Where IconTheme reads the bytes, written as the index of a theme in folder, otherwise than
    // GKeyFile, a line each; empty when the two agree.
    static std::string differences(std::string_view data, const std::string &folder);
};
