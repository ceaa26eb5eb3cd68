#pragma once

#include <array>
#include <bit>
#include <bitset>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The keys that a DesktopEntryFile keeps and the languages it keeps their translations in,
// prepared once for all the files read with them.
class DesktopEntryKeys {
public:
    // keys: at most 32, each of 1 to 63 bytes, to outlive this object; a key is known by its
    // position in the list. languages: best first, as g_get_language_names() gives them.
    DesktopEntryKeys(std::span<const std::string_view> keys, std::vector<std::string> languages);

    size_t keyCount() const { return m_keys.size(); }
    size_t languageCount() const { return m_languages.size(); }
    // The position of a key, or -1 when it is not kept. Inline: it is asked of every line.
    int indexOf(std::string_view key) const {
        if (key.empty() || key.size() >= m_keysByLength.size() ||
            !m_firstBytes[static_cast<unsigned char>(key[0])])
            return -1;
        for (std::uint32_t keys = m_keysByLength[key.size()]; keys; keys &= keys - 1) {
            const int index = std::countr_zero(keys);
            if (isSame(m_keys[size_t(index)], key))
                return index;
        }
        return -1;
    }
    // The position of a language, or -1.
    int languageOf(std::string_view locale) const;

    // A plain loop: for the few bytes of a key, a call to memcmp() costs more than comparing.
    static bool isSame(std::string_view a, std::string_view b) {
        if (a.size() != b.size())
            return false;
        for (size_t i = 0; i < a.size(); ++i) {
            if (a[i] != b[i])
                return false;
        }
        return true;
    }

private:
    std::span<const std::string_view> m_keys;
    std::vector<std::string> m_languages;
    // For each length below 64, the keys of that length, one bit each.
    std::array<std::uint32_t, 64> m_keysByLength{};
    std::bitset<256> m_firstBytes; // the first bytes of the keys
};
