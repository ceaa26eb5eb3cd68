#pragma once

#include <array>
#include <string_view>

// Where macOS keeps applications and how its bundles name themselves. A macOS implementation of
// ApplicationBundles serves these; the other platforms have their own conventions.
struct MacApplicationFolders {
    struct Folder {
        std::string_view path; // "~" stands for the user's home folder
        bool isSystem;
    };

    static constexpr std::array<Folder, 5> scanFolders{{
        {"/Applications", false},
        {"/Applications/Utilities", false},
        {"~/Applications", false},
        {"/System/Applications", true},
        {"/System/Applications/Utilities", true},
    }};
    static constexpr std::string_view bundleSuffix = ".app";
    static constexpr std::string_view displayNameKey = "CFBundleDisplayName";
    static constexpr std::string_view bundleNameKey = "CFBundleName";
};
