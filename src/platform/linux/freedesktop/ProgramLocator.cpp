#include "ProgramLocator.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// GLib's search path when $PATH is not set.
constexpr std::string_view defaultSearchPath = "/bin:/usr/bin:.";

// What g_file_test() calls executable and not a directory: the real user may run it; for root,
// which may run anything, it must have an execute bit.
bool isExecutableFile(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode) || !(status.st_mode & 0111))
        return false;
    return getuid() == 0 || access(path.c_str(), X_OK) == 0;
}

std::size_t hashOf(std::string_view name) {
    return std::hash<std::string_view>()(name);
}

std::string pathIn(const std::string &directory, std::string_view name) {
    return directory.empty() ? std::string(name) : directory + '/' + std::string(name);
}

} // namespace

ProgramLocator::ProgramLocator(const std::optional<std::string> &searchPath) {
    const std::string_view path = searchPath ? std::string_view(*searchPath) : defaultSearchPath;
    size_t start = 0;
    while (true) {
        const size_t end = path.find(':', start);
        m_directories.emplace_back().path = path.substr(start, end - start);
        if (end == std::string_view::npos)
            break;
        start = end + 1;
    }
}

ProgramLocator::~ProgramLocator() {
    for (const SearchDirectory &directory : m_directories) {
        if (directory.fd >= 0)
            close(directory.fd);
    }
}

bool ProgramLocator::contains(std::string_view program) const {
    QMutexLocker locker(&m_lock);
    if (program.find('/') == std::string_view::npos)
        return search(program);
    const auto [answer, isNew] = m_pathAnswers.try_emplace(std::string(program), false);
    if (isNew)
        answer->second = isExecutableFile(answer->first);
    return answer->second;
}

bool ProgramLocator::search(std::string_view program) const {
    const std::size_t hash = hashOf(program);
    return std::any_of(m_directories.begin(), m_directories.end(), [&](SearchDirectory &directory) {
        return isInDirectory(directory, program, hash);
    });
}

bool ProgramLocator::isInDirectory(SearchDirectory &directory, std::string_view program,
                                   std::size_t hash) const {
    if (!directory.isListed)
        list(directory);
    if (!directory.isReadable)
        return isExecutableFile(pathIn(directory.path, program));
    const auto found = std::lower_bound(directory.names.begin(), directory.names.end(),
                                        Name{hash, 0, Answer::unknown});
    if (found == directory.names.end() || found->hash != hash)
        return false;
    if (found->answer == Answer::unknown) {
        // For a regular file, access() alone answers: root too needs an execute bit on one.
        const bool isRunnable =
            found->type == DT_REG
                ? faccessat(directory.fd, std::string(program).c_str(), X_OK, 0) == 0
                : isExecutableFile(pathIn(directory.path, program));
        found->answer = isRunnable ? Answer::runnable : Answer::notRunnable;
    }
    return found->answer == Answer::runnable;
}

void ProgramLocator::list(SearchDirectory &directory) const {
    directory.isListed = true;
    const int fd = open(directory.path.empty() ? "." : directory.path.c_str(),
                        O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        // A missing directory holds nothing; one that cannot be read is probed name by name.
        directory.isReadable = errno == ENOENT || errno == ENOTDIR;
        return;
    }
    struct stat status {};
    if (fstat(fd, &status) == 0)
        directory.identity = {status.st_dev, status.st_ino};
    directory.isReadable = true;
    // What a repeated directory ("/bin" after "/usr/bin") holds was found, or not, before.
    if (isRepeated(directory)) {
        close(fd);
        return;
    }
    directory.fd = fd;
    DIR *stream = fdopendir(dup(fd));
    directory.isReadable = stream != nullptr;
    if (!stream)
        return;
    while (const dirent *entry = readdir(stream))
        directory.names.push_back({hashOf(entry->d_name), entry->d_type, Answer::unknown});
    closedir(stream);
    std::sort(directory.names.begin(), directory.names.end());
}

bool ProgramLocator::isRepeated(const SearchDirectory &directory) const {
    return directory.identity && std::any_of(m_directories.begin(), m_directories.end(),
                                             [&](const SearchDirectory &other) {
                                                 return &other != &directory &&
                                                        other.identity == directory.identity;
                                             });
}
