#include "KeyFileReference.h"

#include <cstdio>
#include <cstdlib>
#include <glib.h>

namespace {

std::optional<std::string> taken(gchar *value) {
    if (!value)
        return std::nullopt;
    std::string result(value);
    g_free(value);
    return result;
}

// Bytes as C would write them, so that a report shows what no terminal can.
std::string quoted(std::string_view text) {
    g_autofree gchar *escaped = g_strescape(std::string(text).c_str(), nullptr);
    return '"' + std::string(escaped) + '"';
}

} // namespace

KeyFileReference::KeyFileReference(std::string_view data, char listSeparator)
    : m_file(g_key_file_new()) {
    g_key_file_set_list_separator(m_file, listSeparator);
    m_isLoaded =
        g_key_file_load_from_data(m_file, data.data(), data.size(), G_KEY_FILE_NONE, nullptr);
}

KeyFileReference::~KeyFileReference() {
    g_key_file_free(m_file);
}

std::optional<std::string> KeyFileReference::startGroup() const {
    return taken(g_key_file_get_start_group(m_file));
}

bool KeyFileReference::hasGroup(const char *group) const {
    return g_key_file_has_group(m_file, group);
}

std::optional<std::string> KeyFileReference::string(const char *group, const char *key) const {
    return taken(g_key_file_get_string(m_file, group, key, nullptr));
}

std::optional<std::string> KeyFileReference::localeString(const char *group,
                                                          const char *key) const {
    return taken(g_key_file_get_locale_string(m_file, group, key, nullptr, nullptr));
}

bool KeyFileReference::boolean(const char *group, const char *key) const {
    return g_key_file_get_boolean(m_file, group, key, nullptr);
}

std::optional<std::vector<std::string>> KeyFileReference::stringList(const char *group,
                                                                     const char *key) const {
    g_auto(GStrv) values = g_key_file_get_string_list(m_file, group, key, nullptr, nullptr);
    if (!values)
        return std::nullopt;
    return std::vector<std::string>(values, values + g_strv_length(values));
}

std::optional<int> KeyFileReference::integer(const char *group, const char *key) const {
    g_autoptr(GError) error = nullptr;
    const int value = g_key_file_get_integer(m_file, group, key, &error);
    return error ? std::nullopt : std::optional(value);
}

std::string KeyFileReference::text(bool value) {
    return value ? "true" : "false";
}

std::string KeyFileReference::text(const std::optional<int> &value) {
    return value ? std::to_string(*value) : "none";
}

std::string KeyFileReference::text(const std::optional<std::string> &value) {
    return value ? quoted(*value) : "none";
}

std::string KeyFileReference::text(const std::optional<std::vector<std::string>> &value) {
    if (!value)
        return "none";
    std::string result = "{";
    for (const std::string &item : *value)
        result += (result.size() > 1 ? ", " : "") + quoted(item);
    return result + '}';
}

void KeyFileReference::abortOn(const std::string &differences) {
    if (differences.empty())
        return;
    std::fprintf(stderr, "The reader differs from GKeyFile:\n%s", differences.c_str());
    std::abort();
}
