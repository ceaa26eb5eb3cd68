#pragma once

#include <string>
#include <string_view>

// The desktop-entry reader set against GKeyFile on one file: whether it loads, its first group,
// and each key's string, translation, Boolean and list, in several languages.
class DesktopEntryComparison {
public:
    // Where DesktopEntryFile reads the bytes otherwise than GKeyFile, a line each; empty when the
    // two agree.
    static std::string differences(std::string_view data);
};
