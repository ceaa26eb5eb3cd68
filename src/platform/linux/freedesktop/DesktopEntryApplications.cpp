#include "DesktopEntryApplications.h"

#include "DesktopEntryFile.h"
#include "DesktopFileTree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#pragma pop_macro("signals")
#include <glib.h>
#include <QDir>
#include <QFile>
#include <QSet>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString desktopSuffix = QStringLiteral(".desktop");
// The program's own desktop file ID, without the suffix.
const QString ownDesktopFileId = QStringLiteral("app.quellory.Quellory");
// GLib's system data directories when $XDG_DATA_DIRS is not set.
const QString defaultDataDirs = QStringLiteral("/usr/local/share/:/usr/share/");
const QString systemDataDir = QStringLiteral("/usr/share/");
// Real desktop entries are a few kilobytes; anything this large is not one.
constexpr size_t maxEntrySize = 1024 * 1024;

// The keys read from an entry, and their positions in that list.
constexpr std::array<std::string_view, 9> entryKeys{
    "Name",   "Type",    "Exec",       "Categories", "NoDisplay",
    "Hidden", "TryExec", "OnlyShowIn", "NotShowIn",
};
namespace key {
enum : size_t { name, type, exec, categories, noDisplay, hidden, tryExec, onlyShowIn, notShowIn };
} // namespace key

QList<ScanFolder> foldersOf(const DesktopEntryApplications::Environment &environment) {
    QStringList dataDirs{environment.dataHome.isEmpty()
                             ? environment.home + QStringLiteral("/.local/share")
                             : environment.dataHome};
    const QString &systemDirs =
        environment.dataDirs.isEmpty() ? defaultDataDirs : environment.dataDirs;
    dataDirs += systemDirs.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    QList<ScanFolder> folders;
    QSet<QString> seen;
    for (const QString &dataDir : std::as_const(dataDirs)) {
        // The XDG Base Directory Specification has relative paths ignored.
        if (!QDir::isAbsolutePath(dataDir))
            continue;
        const QString folder = QDir::cleanPath(dataDir + QStringLiteral("/applications"));
        if (seen.contains(folder))
            continue;
        seen.insert(folder);
        folders.append({folder, folder.startsWith(systemDataDir)});
    }
    return folders;
}

// Split as GIO splits $XDG_CURRENT_DESKTOP: at every ':', nothing at all when it is empty.
std::vector<std::string> desktopsOf(const QString &currentDesktop) {
    std::vector<std::string> desktops;
    if (currentDesktop.isEmpty())
        return desktops;
    for (const QString &desktop : currentDesktop.split(QLatin1Char(':')))
        desktops.push_back(desktop.toStdString());
    return desktops;
}

// The languages once each: g_get_language_names() may name one twice ("de_DE:de" gives "de"
// from both), and only its first place can ever hold a translation.
std::vector<std::string> uniqueLanguages(const QStringList &languages) {
    std::vector<std::string> result;
    for (const QString &language : languages) {
        std::string name = language.toStdString();
        if (std::find(result.begin(), result.end(), name) == result.end())
            result.push_back(std::move(name));
    }
    return result;
}

std::optional<QString> toQString(std::optional<std::string_view> text) {
    if (!text)
        return std::nullopt;
    return QString::fromUtf8(text->data(), qsizetype(text->size()));
}

// The whole of an open file, read into buffer: none for anything but a regular file, or for
// one too large. A file known to be regular needs no fstat(): a short read is its end.
std::optional<std::string_view> readAll(int fd, bool isRegular, std::vector<char> &buffer) {
    struct stat status {};
    if (!isRegular && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)))
        return std::nullopt;
    const size_t expected = std::min(size_t(status.st_size), maxEntrySize);
    buffer.resize(std::max({buffer.size(), expected + 1, size_t(16 * 1024)}));
    size_t total = 0;
    while (total <= maxEntrySize) {
        const ssize_t count = read(fd, buffer.data() + total, buffer.size() - total);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        total += size_t(count);
        if (total < buffer.size())
            break;
        buffer.resize(std::min(buffer.size() * 2, maxEntrySize + 1));
    }
    if (total > maxEntrySize)
        return std::nullopt;
    return std::string_view(buffer.data(), total);
}

// The bytes of a desktop file, in a buffer of the calling thread that the next read reuses.
std::optional<std::string_view> readEntryFile(const QString &path, const ListedFolders &folders) {
    thread_local std::vector<char> buffer;
    // Non-blocking, so that a FIFO named like a desktop file cannot hang the scan.
    const auto file = folders.open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file.fd < 0)
        return std::nullopt;
    const auto data = readAll(file.fd, file.isRegular, buffer);
    close(file.fd);
    return data;
}

// The program that a command line runs, as g_shell_parse_argv() splits it; none when it does
// not parse. The name lies in the command line, or in buffer when it had quotes or escapes.
std::optional<std::string_view> programOf(std::string_view commandLine, std::string &buffer) {
    // Without quotes, escapes or comments, words are simply separated by blanks.
    const bool isPlain = std::none_of(commandLine.begin(), commandLine.end(), [](char c) {
        return c == '\'' || c == '"' || c == '\\' || c == '#';
    });
    if (isPlain) {
        const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n'; };
        const auto start = std::find_if_not(commandLine.begin(), commandLine.end(), isBlank);
        if (start == commandLine.end())
            return std::nullopt;
        return std::string_view(start, std::find_if(start, commandLine.end(), isBlank));
    }
    gchar **argv = nullptr;
    if (!g_shell_parse_argv(std::string(commandLine).c_str(), nullptr, &argv, nullptr))
        return std::nullopt;
    buffer = argv[0];
    g_strfreev(argv);
    return buffer;
}

bool isUtility(const DesktopEntryFile &file) {
    return (file.listContains(key::categories, "System") ||
            file.listContains(key::categories, "Settings")) &&
           !file.listContains(key::categories, "TerminalEmulator");
}

} // namespace

DesktopEntryApplications::Environment DesktopEntryApplications::Environment::ofProcess() {
    Environment environment;
    environment.home = QFile::decodeName(g_get_home_dir());
    environment.dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    environment.dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    environment.currentDesktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    if (const char *path = getenv("PATH"))
        environment.searchPath = path;
    for (const char *const *language = g_get_language_names(); *language; ++language)
        environment.languages.append(QString::fromUtf8(*language));
    return environment;
}

DesktopEntryApplications::DesktopEntryApplications()
    : DesktopEntryApplications(Environment::ofProcess()) {}

DesktopEntryApplications::DesktopEntryApplications(const Environment &environment)
    : m_folders(foldersOf(environment)), m_currentDesktops(desktopsOf(environment.currentDesktop)),
      m_keys(entryKeys, uniqueLanguages(environment.languages)),
      m_programs(environment.searchPath) {}

std::optional<QList<FolderEntry>>
DesktopEntryApplications::contentsOfFolder(const QString &folder) const {
    return DesktopFileTree::list(folder, m_listedFolders);
}

QString DesktopEntryApplications::bundleSuffix() const {
    return desktopSuffix;
}

std::optional<BundleInfo> DesktopEntryApplications::openBundle(const FolderEntry &entry) const {
    // Whatever the file holds, the entry takes its ID: one that is not shown still hides the
    // entries of that ID in later folders, as it does in GIO.
    BundleInfo bundle;
    if (entry.name.endsWith(desktopSuffix))
        bundle.bundleIdentifier = entry.name.chopped(desktopSuffix.size());
    else
        bundle.bundleIdentifier = entry.name;
    bundle.isOffered = false;
    const auto data = readEntryFile(entry.path, m_listedFolders);
    DesktopEntryFile file(m_keys);
    if (!data || !file.parse(*data) || !file.startsWithDesktopEntry())
        return bundle;
    // The Name, and the translation of it that g_key_file_get_locale_string() would choose,
    // which is shown instead where there is one.
    std::string buffer;
    bundle.bundleName = toQString(file.string(key::name, buffer));
    if (const auto translation = file.translation(key::name, buffer))
        bundle.displayName = toQString(translation);
    bundle.isOffered = isShown(file);
    bundle.isUtility = isUtility(file);
    return bundle;
}

std::optional<QString>
DesktopEntryApplications::pathForBundleIdentifier(const QString &bundleID) const {
    for (const ScanFolder &folder : m_folders) {
        if (auto path = DesktopFileTree::find(folder.path, bundleID + desktopSuffix))
            return path;
    }
    return std::nullopt;
}

std::optional<QString> DesktopEntryApplications::pathForUrlScheme(const QString &scheme) const {
    // The application that the user chose for links of the scheme, as GIO reads mimeapps.list.
    GAppInfo *handler = g_app_info_get_default_for_uri_scheme(scheme.toUtf8().constData());
    std::optional<QString> path;
    if (handler && G_IS_DESKTOP_APP_INFO(handler)) {
        if (const char *file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(handler)))
            path = QString::fromUtf8(file);
    }
    if (handler)
        g_object_unref(handler);
    return path;
}

std::optional<QString> DesktopEntryApplications::mainBundleIdentifier() const {
    return ownDesktopFileId;
}

// What GIO lists (an application it can load, not hidden) and g_app_info_should_show() shows.
bool DesktopEntryApplications::isShown(const DesktopEntryFile &file) const {
    std::string buffer;
    return file.string(key::type, buffer) == "Application" && !file.boolean(key::hidden) &&
           !file.boolean(key::noDisplay) && isShownOnThisDesktop(file) && canRun(file);
}

// OnlyShowIn and NotShowIn against the current desktops, the first named desktop deciding.
bool DesktopEntryApplications::isShownOnThisDesktop(const DesktopEntryFile &file) const {
    const bool hasOnlyShowIn = file.stringList(key::onlyShowIn).has_value();
    for (const std::string &desktop : m_currentDesktops) {
        if (file.listContains(key::onlyShowIn, desktop))
            return true;
        if (file.listContains(key::notShowIn, desktop))
            return false;
    }
    return !hasOnlyShowIn;
}

// GIO loads an application only when its TryExec and the program of its Exec are installed.
bool DesktopEntryApplications::canRun(const DesktopEntryFile &file) const {
    std::string buffer;
    const auto tryExec = file.string(key::tryExec, buffer);
    if (tryExec && !tryExec->empty() && !m_programs.contains(*tryExec))
        return false;
    const auto exec = file.string(key::exec, buffer);
    if (!exec || exec->empty())
        return true;
    std::string programBuffer;
    const auto program = programOf(*exec, programBuffer);
    return program && m_programs.contains(*program);
}
