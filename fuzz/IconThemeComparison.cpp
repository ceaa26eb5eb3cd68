#include "IconThemeComparison.h"

#include "KeyFileReference.h"
#include "platform/linux/freedesktop/IconTheme.h"

#include <algorithm>
#include <cstring>
#include <glib.h>

namespace {

const char *const themeGroup = "Icon Theme";
const char *const themeName = "theme";

// A list's items without the blanks around them, empty ones dropped.
std::vector<std::string> items(const KeyFileReference &reference, const char *key) {
    std::vector<std::string> result;
    for (std::string item : reference.stringList(themeGroup, key).value_or(result)) {
        g_strstrip(item.data());
        item.resize(std::strlen(item.c_str()));
        if (!item.empty())
            result.push_back(item);
    }
    return result;
}

std::vector<std::string> utf8(const QStringList &texts) {
    std::vector<std::string> result;
    for (const QString &text : texts)
        result.push_back(text.toStdString());
    return result;
}

// The integer that GKeyFile reads, within the bounds that the theme keeps to.
int integer(const KeyFileReference &reference, const std::string &group, const char *key,
            int fallback, int low) {
    return std::clamp(reference.integer(group.c_str(), key).value_or(fallback), low, 1 << 16);
}

std::string typeName(IconThemeDirectory::Type type) {
    switch (type) {
    case IconThemeDirectory::Type::Fixed:
        return "Fixed";
    case IconThemeDirectory::Type::Scalable:
        return "Scalable";
    case IconThemeDirectory::Type::Threshold:
        break;
    }
    return "Threshold";
}

void compareDirectory(const IconThemeDirectory &directory, KeyFileReference &reference,
                      const std::string &group) {
    const int size = integer(reference, group, "Size", 0, 0);
    const std::string type = reference.string(group.c_str(), "Type").value_or("Threshold");
    reference.expectSame({"[", group, "] Size"}, std::optional(directory.size),
                         std::optional(size));
    reference.expectSame({"[", group, "] Scale"}, std::optional(directory.scale),
                         std::optional(std::min(integer(reference, group, "Scale", 1, 1), 64)));
    reference.expectSame({"[", group, "] Type"}, std::optional(typeName(directory.type)),
                         std::optional(type == "Fixed" || type == "Scalable" ? type : "Threshold"));
    reference.expectSame({"[", group, "] MinSize"}, std::optional(directory.minSize),
                         std::optional(integer(reference, group, "MinSize", size, 0)));
    reference.expectSame({"[", group, "] MaxSize"}, std::optional(directory.maxSize),
                         std::optional(integer(reference, group, "MaxSize", size, 0)));
    reference.expectSame({"[", group, "] Threshold"}, std::optional(directory.threshold),
                         std::optional(integer(reference, group, "Threshold", 2, 0)));
}

} // namespace

std::string IconThemeComparison::differences(std::string_view data, const std::string &folder) {
    const std::string index = folder + '/' + themeName + "/index.theme";
    g_mkdir_with_parents((folder + '/' + themeName).c_str(), 0700);
    // Replaced whole, but not synced to the disk: thousands are written a second.
    if (!g_file_set_contents_full(index.c_str(), data.data(), gssize(data.size()),
                                  G_FILE_SET_CONTENTS_CONSISTENT, 0600, nullptr))
        return "index.theme could not be written\n";
    KeyFileReference reference(data, ',');
    const auto theme = IconTheme::load(themeName, {QString::fromStdString(folder)});
    const bool loads = reference.isLoaded() && reference.hasGroup(themeGroup);
    reference.expectSame({"loads"}, theme.has_value(), loads);
    if (!theme || !loads)
        return reference.differences();
    reference.expectSame({"Inherits"}, std::optional(utf8(theme->parents())),
                         std::optional(items(reference, "Inherits")));
    // Every listed directory whose group states a size, in the order listed.
    std::vector<std::string> expected = items(reference, "Directories");
    const auto scaled = items(reference, "ScaledDirectories");
    expected.insert(expected.end(), scaled.begin(), scaled.end());
    std::erase_if(expected, [&](const std::string &group) {
        return !reference.hasGroup(group.c_str()) || integer(reference, group, "Size", 0, 0) <= 0;
    });
    std::vector<std::string> read;
    for (const IconThemeDirectory &directory : theme->directories())
        read.push_back(directory.path.toStdString());
    reference.expectSame({"directories"}, std::optional(read), std::optional(expected));
    for (size_t i = 0; i < std::min(read.size(), expected.size()); ++i)
        compareDirectory(theme->directories().at(qsizetype(i)), reference, expected[i]);
    return reference.differences();
}
