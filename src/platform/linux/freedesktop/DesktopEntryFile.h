#pragma once

#include "DesktopEntryKeys.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// A desktop entry file read as GLib's GKeyFile reads it, without its cost: one pass over the raw
// bytes checks every line and keeps, from the [Desktop Entry] group, only the values of the keys
// asked for (and of their translations into the given languages). Values are views into the
// parsed bytes, which must outlive the reads, as the keys must outlive the reader.
class DesktopEntryFile {
public:
    // Values are read back by the position of their key among keys.
    explicit DesktopEntryFile(const DesktopEntryKeys &keys);
    DesktopEntryFile(const DesktopEntryFile &) = delete;
    DesktopEntryFile &operator=(const DesktopEntryFile &) = delete;

    // Reads a file's bytes; false for a file that GKeyFile refuses to load.
    bool parse(std::string_view data);

    // Whether the file's first group is [Desktop Entry], as GIO requires of an application.
    bool startsWithDesktopEntry() const { return m_startsWithDesktopEntry; }

    // The value unescaped, as g_key_file_get_string() gives it: none when the key is missing or
    // the value is not UTF-8. Unknown escapes stay as written. The text lies in the file, or in
    // buffer when it had escapes to undo.
    std::optional<std::string_view> string(size_t key, std::string &buffer) const;
    // The translation for the best language that has a usable one, as
    // g_key_file_get_locale_string() looks for it before it falls back to string(key).
    std::optional<std::string_view> translation(size_t key, std::string &buffer) const;
    // True for "true" or "1", as g_key_file_get_boolean() reads it; false otherwise.
    bool boolean(size_t key) const;
    // The ';'-separated list, as g_key_file_get_string_list() splits it: none when the key is
    // missing, the value is not UTF-8 or holds an escape that is not understood.
    std::optional<std::vector<std::string>> stringList(size_t key) const;
    // Whether that list holds the item.
    bool listContains(size_t key, std::string_view item) const;

private:
    // A line as far as its first NUL byte, and what follows that byte.
    bool parseGroup(std::string_view line, std::string_view afterNul);
    bool parseKeyValue(std::string_view line, std::string_view afterNul);
    void keep(size_t key, std::string_view locale, std::string_view value);
    // The value of a key, untranslated (language 0) or for the language at language - 1.
    std::optional<std::string_view> raw(size_t key, size_t language = 0) const;

    const DesktopEntryKeys &m_keys;
    // For each key, its untranslated value followed by one translation per language: views into
    // the file, never null, or a null view for a value the file does not have. They live in the
    // object itself unless there are too many of them.
    std::array<std::string_view, 96> m_ownValues;
    std::vector<std::string_view> m_moreValues;
    std::span<std::string_view> m_values;

    std::optional<std::string_view> m_startGroup;
    bool m_startsWithDesktopEntry = false;
    bool m_inStartGroup = false;
    bool m_inDesktopEntry = false;
};
