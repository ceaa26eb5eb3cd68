#include "DesktopEntryComparison.h"

#include "KeyFileReference.h"
#include "platform/linux/freedesktop/DesktopEntryFile.h"

#include <algorithm>
#include <array>
#include <glib.h>

namespace {

const char *const group = "Desktop Entry";

// The keys that decide what the catalog offers, and some that it may come to read.
constexpr std::array<std::string_view, 13> keys{
    "Type",       "Name",      "Exec", "TryExec", "Categories",     "NoDisplay", "Hidden",
    "OnlyShowIn", "NotShowIn", "Icon", "Comment", "StartupWMClass", "Encoding",
};

// The user's languages as $LANGUAGE names them: none but C, plain ones, ones with a country or a
// modifier, and a list. GKeyFile keeps only the translations into the process's languages.
constexpr std::array<const char *, 6> languageSettings{"C",        "de",    "ca@valencia",
                                                       "sr@latin", "pt_BR", "sr_RS@latin:de_AT"};

std::optional<std::string> copied(std::optional<std::string_view> text) {
    return text ? std::optional<std::string>(*text) : std::nullopt;
}

void compareUntranslated(const DesktopEntryFile &file, KeyFileReference &reference, size_t key) {
    const char *const name = keys[key].data();
    std::string buffer;
    reference.expectSame({name}, copied(file.string(key, buffer)), reference.string(group, name));
    reference.expectSame({name, " as Boolean"}, file.boolean(key), reference.boolean(group, name));
    const auto list = reference.stringList(group, name);
    reference.expectSame({name, " as list"}, file.stringList(key), list);
    // Membership is asked of every item GKeyFile has, and of some that it may lack.
    std::vector<std::string> items = list.value_or(std::vector<std::string>());
    items.insert(items.end(), {"", "GNOME", "System"});
    for (const std::string &item : items) {
        const bool listed = list && std::find(list->begin(), list->end(), item) != list->end();
        reference.expectSame({name, " lists \"", item, "\""}, file.listContains(key, item), listed);
    }
}

void compareTranslated(const DesktopEntryFile &file, KeyFileReference &reference, size_t key,
                       const char *language) {
    const char *const name = keys[key].data();
    std::string buffer;
    auto translation = copied(file.translation(key, buffer));
    if (!translation)
        translation = copied(file.string(key, buffer));
    reference.expectSame({name, " in ", language}, translation,
                         reference.localeString(group, name));
}

// The reader in the languages of the process, as the catalog reads entries.
void compareInProcessLanguages(std::string_view data, KeyFileReference &reference,
                               const char *language) {
    const char *const *names = g_get_language_names();
    const DesktopEntryKeys entryKeys(keys,
                                     {names, names + g_strv_length(const_cast<char **>(names))});
    DesktopEntryFile file(entryKeys);
    const bool parsed = file.parse(data);
    reference.expectSame({"loads"}, parsed, reference.isLoaded());
    if (!parsed || !reference.isLoaded())
        return;
    reference.expectSame({"starts with [Desktop Entry]"}, file.startsWithDesktopEntry(),
                         reference.startGroup() == std::optional<std::string>(group));
    for (size_t key = 0; key < keys.size(); ++key) {
        // Untranslated values are the same in every language.
        if (language == languageSettings.front())
            compareUntranslated(file, reference, key);
        compareTranslated(file, reference, key, language);
    }
}

} // namespace

std::string DesktopEntryComparison::differences(std::string_view data) {
    const std::optional<std::string> previous =
        g_getenv("LANGUAGE") ? std::optional<std::string>(g_getenv("LANGUAGE")) : std::nullopt;
    std::string differences;
    for (const char *language : languageSettings) {
        g_setenv("LANGUAGE", language, TRUE);
        KeyFileReference reference(data, ';');
        compareInProcessLanguages(data, reference, language);
        if (!reference.differences().empty())
            differences += "LANGUAGE=" + std::string(language) + ":\n" + reference.differences();
    }
    if (previous)
        g_setenv("LANGUAGE", previous->c_str(), TRUE);
    else
        g_unsetenv("LANGUAGE");
    return differences;
}
