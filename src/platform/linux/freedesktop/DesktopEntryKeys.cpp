#include "DesktopEntryKeys.h"

#include <algorithm>

DesktopEntryKeys::DesktopEntryKeys(std::span<const std::string_view> keys,
                                   std::vector<std::string> languages)
    : m_keys(keys.first(std::min<size_t>(keys.size(), 32))), m_languages(std::move(languages)) {
    for (size_t index = 0; index < m_keys.size(); ++index) {
        const std::string_view key = m_keys[index];
        if (key.empty() || key.size() >= m_keysByLength.size())
            continue;
        m_keysByLength[key.size()] |= std::uint32_t(1) << index;
        m_firstBytes.set(static_cast<unsigned char>(key.front()));
    }
}

int DesktopEntryKeys::languageOf(std::string_view locale) const {
    const auto found = std::find_if(m_languages.begin(), m_languages.end(),
                                    [&](const std::string &name) { return isSame(name, locale); });
    return found == m_languages.end() ? -1 : int(found - m_languages.begin());
}
