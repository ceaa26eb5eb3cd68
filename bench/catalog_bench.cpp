// Times the catalog scan of 1000 desktop entries against reading the same files raw, against the
// system calls that a scan equal to GIO's cannot do without, and against GIO's
// g_app_info_get_all() on the same tree. Prints medians over several rounds, warm cache.

#include "BenchFigures.h"
#include "models/AppCatalog.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

// GIO names a struct member "signals", which Qt defines as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#pragma pop_macro("signals")

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

constexpr int entryCount = 1000;
constexpr int rounds = 31;
const QString gioChildArgument = QStringLiteral("--time-gio-get-all");

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Entries as distributions ship them: each application with a name of its own, most entries
// short, some translated into a few languages, a few into dozens; comments, actions, MIME types,
// now and then one hidden or for another desktop.
class EntryWriter {
public:
    EntryWriter() {
        for (const QByteArray &adjective : m_adjectives) {
            for (const QByteArray &noun : m_nouns)
                m_names.append(adjective + ' ' + noun);
        }
        std::shuffle(m_names.begin(), m_names.end(), m_random);
    }

    QByteArray entry(int index) {
        const QByteArray name = m_names[index % m_names.size()];
        const QByteArray program = "app-" + QByteArray::number(index);
        QByteArray text;
        if (chance(30))
            text += "# Installed by the " + name + " package.\n# Edit with care.\n\n";
        text += "[Desktop Entry]\nVersion=1.0\nType=Application\nName=" + name + '\n';
        const int languages = chance(10) ? 60 : chance(35) ? 8 : 0;
        translate(text, "Name", name, languages);
        text += "GenericName=" + word(m_nouns) + '\n';
        text += "Comment=" + word(m_adjectives) + ' ' + word(m_nouns) + " for everyday work\n";
        translate(text, "Comment", "Work with " + name, languages);
        text += "Exec=" + program + (chance(50) ? " %U\n" : " --new-window %F\n");
        if (chance(5))
            text += "TryExec=" + program + '\n';
        text += "Icon=" + program + "\nTerminal=false\nStartupNotify=true\n";
        text += "Categories=" + word(m_categories) + ';' + word(m_categories) + ";\n";
        text += "Keywords=" + word(m_nouns).toLower() + ';' + word(m_adjectives).toLower() + ";\n";
        if (chance(40))
            text += "MimeType=text/plain;image/png;application/x-" + program + ";\n";
        if (chance(2))
            text += "NoDisplay=true\n";
        if (chance(2))
            text += "OnlyShowIn=KDE;\n";
        if (chance(20))
            text += "Actions=new-window;\n\n[Desktop Action new-window]\nName=New Window\nExec=" +
                    program + " --new-window\n";
        return text;
    }

private:
    bool chance(int percent) { return std::uniform_int_distribution(0, 99)(m_random) < percent; }

    QByteArray word(const QList<QByteArray> &words) {
        return words[std::uniform_int_distribution<qsizetype>(0, words.size() - 1)(m_random)];
    }

    void translate(QByteArray &text, const QByteArray &key, const QByteArray &value, int count) {
        for (int i = 0; i < count; ++i) {
            const QByteArray &locale = m_locales[i % m_locales.size()];
            const QByteArray variant = i < m_locales.size() ? "" : "_" + locale.toUpper();
            text += key + '[' + locale + variant + "]=" + value + " (" + locale + ")\n";
        }
    }

    std::mt19937 m_random{20240601};
    const QList<QByteArray> m_adjectives{
        "Quick",  "Simple", "Open",    "Smart",  "Tiny",    "Gnome",  "Free",   "Bright",
        "Deep",   "Swift",  "Little",  "Secure", "Remote",  "Cloud",  "Pixel",  "Sound",
        "Photo",  "Video",  "Text",    "Code",   "Disk",    "System", "Net",    "Mail",
        "Chat",   "Game",   "Music",   "Image",  "Font",    "Color",  "Vector", "Raster",
        "Budget", "Star",   "Weather", "Map",    "Archive", "Print",  "Scan",   "Backup"};
    const QList<QByteArray> m_nouns{
        "Editor",   "Viewer",  "Player",   "Terminal",  "Browser",   "Studio",  "Manager",
        "Recorder", "Mixer",   "Reader",   "Writer",    "Monitor",   "Scanner", "Calendar",
        "Notes",    "Console", "Explorer", "Client",    "Server",    "Tracker", "Designer",
        "Builder",  "Checker", "Finder",   "Launcher",  "Organizer", "Planner", "Studio Pro",
        "Toolkit",  "Utility", "Wizard",   "Assistant", "Center",    "Board",   "Book",
        "Box",      "Desk",    "Lab",      "Works",     "Hub"};
    QList<QByteArray> m_names;
    const QList<QByteArray> m_categories{"Utility",  "Development", "Graphics", "AudioVideo",
                                         "Office",   "Network",     "Game",     "System",
                                         "Settings", "Education",   "Science",  "GTK",
                                         "Qt",       "TextEditor",  "Viewer",   "Player"};
    const QList<QByteArray> m_locales{"de", "fr", "es", "it", "pt", "nl", "pl", "ru", "ja", "zh",
                                      "ko", "sv", "fi", "da", "nb", "cs", "hu", "tr", "el", "uk"};
};

bool writeFile(const QString &path, const QByteArray &content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

// The folder of entry i: a few in the user's folder, most in the system's, some of those in
// the subfolders that menus and Wine create.
QString folderOf(int index) {
    if (index % 20 == 0)
        return QStringLiteral("home/applications");
    if (index % 25 == 1)
        return QStringLiteral("usr/applications/kde4");
    if (index % 50 == 2)
        return QStringLiteral("usr/applications/wine/Programs/Games");
    if (index % 30 == 3)
        return QStringLiteral("local/applications");
    return QStringLiteral("usr/applications");
}

// Writes the entries and one installed program for each; answers the entries' paths.
std::vector<std::string> writeTree(const QDir &root) {
    EntryWriter writer;
    std::vector<std::string> paths;
    for (int index = 0; index < entryCount; ++index) {
        const QString path = root.filePath(folderOf(index) +
                                           QStringLiteral("/org.example.App%1.desktop").arg(index));
        const QString program = root.filePath(QStringLiteral("bin/app-%1").arg(index));
        if (!writeFile(path, writer.entry(index)) || !writeFile(program, "#!/bin/sh\n") ||
            !QFile::setPermissions(program, QFile::permissions(program) | QFile::ExeOwner))
            return {};
        paths.push_back(QFile::encodeName(path).toStdString());
    }
    return paths;
}

// The whole of each file, as plainly as it can be read.
double rawReadMilliseconds(const std::vector<std::string> &paths) {
    static char buffer[64 * 1024];
    size_t total = 0;
    const auto start = Clock::now();
    for (const std::string &path : paths) {
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        for (ssize_t count; (count = read(fd, buffer, sizeof buffer)) > 0;)
            total += size_t(count);
        close(fd);
    }
    const double elapsed = millisecondsSince(start);
    return total > 0 ? elapsed : -1;
}

// The system calls that any scan whose catalog equals GIO's has to make, and nothing more: list
// the folders (subfolders too), read every entry, and ask once whether the program its Exec line
// names may be run, where the bench installed it. What the scan costs beyond this is its own work.
class ListReadCheck {
public:
    ListReadCheck(const QDir &root, const QStringList &folders)
        : m_bin(QFile::encodeName(root.filePath(QStringLiteral("bin"))).toStdString()) {
        for (const QString &folder : folders)
            m_folders.push_back(QFile::encodeName(root.filePath(folder)).toStdString());
    }

    double milliseconds() {
        m_read = 0;
        const auto start = Clock::now();
        const int bin = open(m_bin.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (const std::string &folder : m_folders)
            visit(folder, bin);
        close(bin);
        const double elapsed = millisecondsSince(start);
        return m_read == entryCount ? elapsed : -1;
    }

private:
    void visit(const std::string &folder, int bin) {
        DIR *stream = opendir(folder.c_str());
        if (!stream)
            return;
        while (const dirent *entry = readdir(stream)) {
            const std::string_view name = entry->d_name;
            if (entry->d_type == DT_DIR && name != "." && name != "..")
                visit(folder + '/' + entry->d_name, bin);
            else if (name.ends_with(".desktop"))
                readAndCheck(dirfd(stream), entry->d_name, bin);
        }
        closedir(stream);
    }

    void readAndCheck(int folder, const char *name, int bin) {
        static char buffer[64 * 1024];
        const int fd = openat(folder, name, O_RDONLY | O_CLOEXEC);
        const ssize_t count = read(fd, buffer, sizeof buffer);
        close(fd);
        const std::string_view text(buffer, size_t(std::max<ssize_t>(count, 0)));
        const size_t exec = text.find("\nExec=");
        if (exec == std::string_view::npos)
            return;
        const std::string_view rest = text.substr(exec + 6);
        const std::string program(rest.substr(0, rest.find_first_of(" \n")));
        m_read += faccessat(bin, program.c_str(), X_OK, 0) == 0 ? 1 : 0;
    }

    std::string m_bin;
    std::vector<std::string> m_folders;
    int m_read = 0;
};

// The whole scan as the program runs it: the platform object reads the environment, then
// the catalog lists, opens, filters and sorts.
double catalogScanMilliseconds(qsizetype &apps) {
    const auto start = Clock::now();
    const DesktopEntryApplications applications;
    apps = AppCatalog::scanInstalledApps(applications).size();
    return millisecondsSince(start);
}

// GIO keeps what it has read of the application folders for the life of the process, so each
// round runs g_app_info_get_all() once in a fresh child process: the figure is GIO's first,
// uncached listing. Type registration is done before the clock starts.
int timeGioGetAllInThisProcess() {
    g_type_ensure(G_TYPE_DESKTOP_APP_INFO);
    const auto start = Clock::now();
    GList *infos = g_app_info_get_all();
    int shown = 0;
    for (GList *item = infos; item; item = item->next)
        shown += g_app_info_should_show(G_APP_INFO(item->data)) ? 1 : 0;
    const double elapsed = millisecondsSince(start);
    g_list_free_full(infos, g_object_unref);
    std::printf("%f %d\n", elapsed, shown);
    return 0;
}

double gioGetAllMilliseconds(qsizetype &apps) {
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {gioChildArgument});
    if (!child.waitForFinished(60000))
        return -1;
    const QList<QByteArray> fields = child.readAllStandardOutput().simplified().split(' ');
    apps = fields.value(1).toLongLong();
    return fields.value(0).toDouble();
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 2 && argv[1] == gioChildArgument)
        return timeGioGetAllInThisProcess();
    QCoreApplication application(argc, argv);
    QTemporaryDir tree;
    const QDir root(tree.path());
    const std::vector<std::string> paths = writeTree(root);
    if (paths.size() != entryCount) {
        std::fprintf(stderr, "could not write the desktop entries\n");
        return 1;
    }
    // Set before any GIO use here or in the children, which inherit it.
    qputenv("XDG_DATA_HOME", root.filePath("home").toUtf8());
    qputenv("XDG_DATA_DIRS", (root.filePath("usr") + ':' + root.filePath("local")).toUtf8());
    qputenv("XDG_CURRENT_DESKTOP", "XFCE");
    qputenv("LANGUAGE", "de_DE:de");
    // The entries' programs are installed in the tree's bin, which stands where /usr/bin stands.
    qputenv("PATH", "/usr/local/bin:" + root.filePath("bin").toUtf8() + ":/usr/bin:/bin");

    qsizetype catalogApps = 0;
    qsizetype gioApps = 0;
    ListReadCheck listReadCheck(root, {QStringLiteral("home/applications"),
                                       QStringLiteral("usr/applications"),
                                       QStringLiteral("local/applications")});
    rawReadMilliseconds(paths);
    catalogScanMilliseconds(catalogApps);
    std::vector<double> raw, floor, scan, gio;
    for (int round = 0; round < rounds; ++round) {
        raw.push_back(rawReadMilliseconds(paths));
        floor.push_back(listReadCheck.milliseconds());
        scan.push_back(catalogScanMilliseconds(catalogApps));
        gio.push_back(gioGetAllMilliseconds(gioApps));
    }

    BenchFigures::print("catalog_scan_ms", BenchFigures::median(scan), "ms");
    BenchFigures::print("raw_read_ms", BenchFigures::median(raw), "ms");
    BenchFigures::print("gio_get_all_ms", BenchFigures::median(gio), "ms");
    BenchFigures::print("catalog_scan_to_raw_read",
                        BenchFigures::median(scan) / BenchFigures::median(raw), "ratio");
    BenchFigures::print("list_read_check_ms", BenchFigures::median(floor), "ms");
    BenchFigures::print("catalog_scan_to_list_read_check",
                        BenchFigures::median(scan) / BenchFigures::median(floor), "ratio");
    BenchFigures::print("catalog_apps", double(catalogApps), "apps");
    BenchFigures::print("gio_apps", double(gioApps), "apps");
    return 0;
}
