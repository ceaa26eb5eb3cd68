#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

typedef struct _GKeyFile GKeyFile;

// GLib's GKeyFile over a file's bytes, loaded in the process's languages as GIO loads entries: the
// reference that the program's readers of key files are held to, and the record of where a reader's
// answer differs from it.
class KeyFileReference {
public:
    KeyFileReference(std::string_view data, char listSeparator);
    ~KeyFileReference();
    KeyFileReference(const KeyFileReference &) = delete;
    KeyFileReference &operator=(const KeyFileReference &) = delete;

    bool isLoaded() const { return m_isLoaded; }
    std::optional<std::string> startGroup() const;
    bool hasGroup(const char *group) const;
    // What g_key_file_get_string() and its kin give; none where they give nothing.
    std::optional<std::string> string(const char *group, const char *key) const;
    // The translation into the process's languages, else the untranslated string.
    std::optional<std::string> localeString(const char *group, const char *key) const;
    bool boolean(const char *group, const char *key) const;
    std::optional<std::vector<std::string>> stringList(const char *group, const char *key) const;
    std::optional<int> integer(const char *group, const char *key) const;

    // Notes a difference between a reader's answer and GKeyFile's; what names the answer, in
    // pieces that are joined only for a difference.
    template <typename Value>
    void expectSame(std::initializer_list<std::string_view> what, const Value &reader,
                    const Value &gkeyfile) {
        if (reader == gkeyfile)
            return;
        for (const std::string_view piece : what)
            m_differences += piece;
        m_differences += ": reader " + text(reader) + ", GKeyFile " + text(gkeyfile) + '\n';
    }
    // Every difference noted, a line each; empty when the reader agreed throughout.
    const std::string &differences() const { return m_differences; }
    // Ends a fuzz run on differences, with their report.
    static void abortOn(const std::string &differences);

private:
    static std::string text(bool value);
    static std::string text(const std::optional<int> &value);
    static std::string text(const std::optional<std::string> &value);
    static std::string text(const std::optional<std::vector<std::string>> &value);

    GKeyFile *m_file;
    bool m_isLoaded;
    std::string m_differences;
};
