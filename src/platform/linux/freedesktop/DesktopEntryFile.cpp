#include "DesktopEntryFile.h"

#include <algorithm>
#include <cstring>
#include <glib.h>

namespace {

constexpr std::string_view desktopEntryGroup = "Desktop Entry";

// What a byte may be to GKeyFile, looked up rather than worked out: the scan of every line of
// every entry is the hottest loop of the catalog.
enum ByteClass : unsigned char {
    space = 1,      // g_ascii_isspace()
    keyEnd = 2,     // ends the plain part of a key: '=', '[' or ']'
    localeChar = 4, // may appear in a key's locale: ASCII letters and digits, '-', '_', '.', '@'
};

constexpr std::array<unsigned char, 256> byteClasses = [] {
    std::array<unsigned char, 256> classes{};
    for (const char c : std::string_view(" \t\n\r\f"))
        classes[static_cast<unsigned char>(c)] |= space;
    for (const char c : std::string_view("=[]"))
        classes[static_cast<unsigned char>(c)] |= keyEnd;
    for (int c = 0; c < 128; ++c) {
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
            c == '-' || c == '_' || c == '.' || c == '@')
            classes[size_t(c)] |= localeChar;
    }
    return classes;
}();

bool is(char c, ByteClass byteClass) {
    return byteClasses[static_cast<unsigned char>(c)] & byteClass;
}

bool isValidUtf8(std::string_view text) {
    // Values are mostly ASCII; only what follows the first byte beyond it needs GLib's check.
    const auto beyond = std::find_if(text.begin(), text.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    return beyond == text.end() ||
           g_utf8_validate_len(&*beyond, size_t(text.end() - beyond), nullptr);
}

bool isUtf8EncodingName(std::string_view value) {
    constexpr std::string_view utf8 = "utf-8";
    return std::equal(value.begin(), value.end(), utf8.begin(), utf8.end(),
                      [](char a, char b) { return g_ascii_tolower(a) == b; });
}

bool isContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// The length of the character that starts text when it may appear in a key's locale, else 0.
// Beyond ASCII, GKeyFile takes any letter or digit; it steps from one character to the next
// over every byte that continues one, even bytes that continue none.
size_t localeCharLength(const char *text, const char *end) {
    if (!is(*text, localeChar) && (static_cast<unsigned char>(*text) < 0x80 ||
                                   !g_unichar_isalnum(g_utf8_get_char_validated(text, end - text))))
        return 0;
    const char *next = text + 1;
    while (next != end && isContinuationByte(*next))
        ++next;
    return size_t(next - text);
}

// What may follow a group's ']': blanks, and the bytes that GKeyFile steps over as it does in a
// locale.
bool isGroupLineTail(std::string_view tail) {
    return std::all_of(tail.begin(), tail.end(),
                       [](char c) { return c == ' ' || c == '\t' || isContinuationByte(c); });
}

bool isGroupName(std::string_view name) {
    return !name.empty() && std::none_of(name.begin(), name.end(), [](char c) {
        return c == '[' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
    });
}

// The escapes that every value understands; 0 for any other character.
char unescapedChar(char c) {
    switch (c) {
    case 's':
        return ' ';
    case 'n':
        return '\n';
    case 't':
        return '\t';
    case 'r':
        return '\r';
    case '\\':
        return '\\';
    default:
        return 0;
    }
}

std::string_view unescaped(std::string_view value, std::string &result) {
    if (value.find('\\') == std::string_view::npos)
        return value;
    result.clear();
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\') {
            result += value[i];
            continue;
        }
        if (++i == value.size())
            break; // GKeyFile drops a backslash that ends the line
        if (const char c = unescapedChar(value[i]))
            result += c;
        else
            result.append({'\\', value[i]});
    }
    return result;
}

std::optional<std::vector<std::string>> split(std::string_view value) {
    std::vector<std::string> pieces;
    pieces.reserve(size_t(std::count(value.begin(), value.end(), ';')) + 1);
    std::string piece;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == ';') {
            pieces.push_back(std::move(piece));
            piece.clear();
        } else if (value[i] != '\\') {
            piece += value[i];
        } else if (++i < value.size() && (unescapedChar(value[i]) || value[i] == ';')) {
            piece += value[i] == ';' ? ';' : unescapedChar(value[i]);
        } else {
            return std::nullopt;
        }
    }
    if (!piece.empty())
        pieces.push_back(std::move(piece));
    return pieces;
}

} // namespace

DesktopEntryFile::DesktopEntryFile(const DesktopEntryKeys &keys) : m_keys(keys) {
    const size_t count = m_keys.keyCount() * (m_keys.languageCount() + 1);
    if (count > m_ownValues.size())
        m_moreValues.resize(count);
    m_values =
        count > m_ownValues.size() ? std::span(m_moreValues) : std::span(m_ownValues).first(count);
}

bool DesktopEntryFile::parse(std::string_view data) {
    std::fill(m_values.begin(), m_values.end(), std::string_view());
    m_startGroup.reset();
    m_startsWithDesktopEntry = m_inStartGroup = m_inDesktopEntry = false;
    // GKeyFile reads most of a line as a C string, up to a NUL byte; text files have none.
    const bool hasNul = std::memchr(data.data(), '\0', data.size());
    const char *p = data.data();
    const char *const end = p + data.size();
    while (p != end) {
        const auto *lineEnd = static_cast<const char *>(std::memchr(p, '\n', size_t(end - p)));
        const char *const next = lineEnd ? lineEnd + 1 : end;
        if (!lineEnd)
            lineEnd = end;
        else if (lineEnd != p && lineEnd[-1] == '\r')
            --lineEnd;
        const auto *nul =
            hasNul ? static_cast<const char *>(std::memchr(p, '\0', size_t(lineEnd - p))) : nullptr;
        const char *const textEnd = nul ? nul : lineEnd;
        while (p != textEnd && is(*p, space))
            ++p;
        // Blank lines and comments need nothing more.
        if (p != textEnd && *p != '#') {
            const std::string_view text(p, size_t(textEnd - p));
            const std::string_view afterNul(textEnd, size_t(lineEnd - textEnd));
            if (!(*p == '[' ? parseGroup(text, afterNul) : parseKeyValue(text, afterNul)))
                return false;
        }
        p = next;
    }
    return true;
}

// GKeyFile takes the group's name up to the line's last ']', even one beyond a NUL byte.
bool DesktopEntryFile::parseGroup(std::string_view line, std::string_view afterNul) {
    const size_t close = line.find(']');
    if (close == std::string_view::npos || !isGroupLineTail(line.substr(close + 1)) ||
        afterNul.find(']') != std::string_view::npos)
        return false;
    const std::string_view name = line.substr(1, close - 1);
    if (!isGroupName(name))
        return false;
    if (!m_startGroup) {
        m_startGroup = name;
        m_startsWithDesktopEntry = name == desktopEntryGroup;
    }
    m_inStartGroup = name == *m_startGroup;
    m_inDesktopEntry = name == desktopEntryGroup;
    return true;
}

// A line "key=value" or "key[locale]=value", blanks allowed around '='. The key may not end in
// a blank before its locale, nor hold a bracket anywhere else. The value ends at a NUL byte,
// though GKeyFile checks the file's encoding against the whole of the line.
bool DesktopEntryFile::parseKeyValue(std::string_view line, std::string_view afterNul) {
    const char *const begin = line.data();
    const char *const end = begin + line.size();
    const char *p = begin;
    while (p != end && !is(*p, keyEnd))
        ++p;
    if (!m_startGroup || p == begin || p == end || *p == ']')
        return false;
    std::string_view key(begin, size_t(p - begin));
    std::string_view locale;
    if (*p == '[') {
        const char *const localeBegin = ++p;
        while (p != end) {
            const size_t length = localeCharLength(p, end);
            if (length == 0)
                break;
            p += length;
        }
        if (key.back() == ' ' || p == end || *p != ']')
            return false;
        locale = std::string_view(localeBegin, size_t(p - localeBegin));
        ++p;
        while (p != end && is(*p, space))
            ++p;
        if (p == end || *p != '=')
            return false;
    } else {
        while (is(key.back(), space))
            key.remove_suffix(1);
    }
    ++p;
    while (p != end && is(*p, space))
        ++p;
    const std::string_view value(p, size_t(end - p));
    if (m_inStartGroup && !locale.data() && DesktopEntryKeys::isSame(key, "Encoding") &&
        !isUtf8EncodingName({p, value.size() + afterNul.size()}))
        return false;
    if (m_inDesktopEntry) {
        if (const int index = m_keys.indexOf(key); index >= 0)
            keep(size_t(index), locale, value);
    }
    return true;
}

void DesktopEntryFile::keep(size_t key, std::string_view locale, std::string_view value) {
    const size_t stride = m_keys.languageCount() + 1;
    if (!locale.data()) {
        m_values[key * stride] = value;
        return;
    }
    if (const int language = m_keys.languageOf(locale); language >= 0)
        m_values[key * stride + 1 + size_t(language)] = value;
}

std::optional<std::string_view> DesktopEntryFile::raw(size_t key, size_t language) const {
    const std::string_view value = m_values[key * (m_keys.languageCount() + 1) + language];
    if (!value.data())
        return std::nullopt;
    return value;
}

std::optional<std::string_view> DesktopEntryFile::string(size_t key, std::string &buffer) const {
    const auto value = raw(key);
    if (!value || !isValidUtf8(*value))
        return std::nullopt;
    return unescaped(*value, buffer);
}

std::optional<std::string_view> DesktopEntryFile::translation(size_t key,
                                                              std::string &buffer) const {
    for (size_t language = 1; language <= m_keys.languageCount(); ++language) {
        const auto value = raw(key, language);
        if (value && isValidUtf8(*value))
            return unescaped(*value, buffer);
    }
    return std::nullopt;
}

bool DesktopEntryFile::boolean(size_t key) const {
    const auto value = raw(key);
    if (!value)
        return false;
    std::string_view text = *value;
    while (!text.empty() && is(text.back(), space))
        text.remove_suffix(1);
    return text == "true" || text == "1";
}

std::optional<std::vector<std::string>> DesktopEntryFile::stringList(size_t key) const {
    const auto value = raw(key);
    if (!value || !isValidUtf8(*value))
        return std::nullopt;
    return split(*value);
}

bool DesktopEntryFile::listContains(size_t key, std::string_view item) const {
    const auto value = raw(key);
    if (!value || value->find('\\') != std::string_view::npos) {
        const auto list = stringList(key);
        return list && std::find(list->begin(), list->end(), item) != list->end();
    }
    // Without escapes the items are the text between the separators, the last one kept only
    // when it is not empty; a list that is not UTF-8 holds nothing.
    for (std::string_view rest = *value; !rest.empty();) {
        const size_t separator = rest.find(';');
        if (DesktopEntryKeys::isSame(rest.substr(0, separator), item))
            return isValidUtf8(*value);
        rest.remove_prefix(separator == std::string_view::npos ? rest.size() : separator + 1);
    }
    return false;
}
