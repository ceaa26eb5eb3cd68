#pragma once

#include <optional>
#include <QMutex>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unordered_map>
#include <utility>
#include <vector>

// Tells whether a program can be found as g_find_program_in_path() finds it: a name with a slash
// is taken as a path, any other is looked for in the directories of $PATH. Each search
// directory is listed once and every answer is remembered, so that a thousand desktop entries
// cost a handful of directory reads instead of a probe of every directory for each of them.
// Safe to use from several threads.
class ProgramLocator {
public:
    // searchPath: the value of $PATH, none when it is not set.
    explicit ProgramLocator(const std::optional<std::string> &searchPath);
    ~ProgramLocator();
    ProgramLocator(const ProgramLocator &) = delete;
    ProgramLocator &operator=(const ProgramLocator &) = delete;

    bool contains(std::string_view program) const;

private:
    enum class Answer : unsigned char { unknown, runnable, notRunnable };
    // A name found in a search directory: a 64-bit hash stands for it, which keeps listing a
    // large directory cheap, with its dirent type and, once asked, whether it may be run.
    struct Name {
        std::size_t hash;
        unsigned char type;
        Answer answer;
        friend bool operator<(const Name &a, const Name &b) { return a.hash < b.hash; }
    };
    struct SearchDirectory {
        std::string path; // empty for the current directory
        bool isListed = false;
        // Listed, so that names says what it holds; a directory that may be searched but not
        // read is probed name by name.
        bool isReadable = false;
        int fd = -1; // kept open to probe names in it
        std::optional<std::pair<dev_t, ino_t>> identity;
        std::vector<Name> names; // sorted
    };

    bool search(std::string_view program) const;
    bool isInDirectory(SearchDirectory &directory, std::string_view program,
                       std::size_t hash) const;
    void list(SearchDirectory &directory) const;
    bool isRepeated(const SearchDirectory &directory) const;

    mutable QMutex m_lock;
    mutable std::vector<SearchDirectory> m_directories;
    mutable std::unordered_map<std::string, bool> m_pathAnswers; // programs named by a path
};
