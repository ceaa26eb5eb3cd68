#include "DesktopEntryIndex.h"

#include "DesktopFileTree.h"

#include <glib.h>
#include <memory>
#include <QFile>
#include <sys/stat.h>

namespace {

const QString desktopSuffix = QStringLiteral(".desktop");

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

QString takeText(gchar *text) {
    const QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

QString programOf(const QString &exec) {
    gchar **argv = nullptr;
    if (exec.isEmpty() || !g_shell_parse_argv(exec.toUtf8().constData(), nullptr, &argv, nullptr))
        return {};
    const QString program = QString::fromUtf8(argv[0]);
    g_strfreev(argv);
    return program.mid(program.lastIndexOf(QLatin1Char('/')) + 1);
}

// A regular file of a desktop entry's size: reading a FIFO would hang, a huge file is no entry.
bool isReadableEntry(const QString &path) {
    struct stat status {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size <= 1024 * 1024;
}

} // namespace

DesktopEntryIndex::DesktopEntryIndex(QList<ScanFolder> folders) : m_folders(std::move(folders)) {}

void DesktopEntryIndex::refreshIfChanged() {
    const auto times = modificationTimes();
    const bool isSame =
        m_hasRead && std::equal(times.begin(), times.end(), m_readTimes.begin(), m_readTimes.end(),
                                [](const timespec &a, const timespec &b) {
                                    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
                                });
    if (!isSame)
        read();
}

std::vector<timespec> DesktopEntryIndex::modificationTimes() const {
    std::vector<timespec> times;
    for (const ScanFolder &folder : m_folders) {
        struct stat status {};
        times.push_back(stat(QFile::encodeName(folder.path).constData(), &status) == 0
                            ? status.st_mtim
                            : timespec{});
    }
    return times;
}

void DesktopEntryIndex::read() {
    m_hasRead = true;
    m_readTimes = modificationTimes();
    m_entries.clear();
    m_byId.clear();
    m_byPath.clear();
    m_byStartupWMClass.clear();
    m_byProgram.clear();
    m_byIdLastPart.clear();
    ListedFolders listed;
    for (const ScanFolder &folder : std::as_const(m_folders)) {
        const auto files = DesktopFileTree::list(folder.path, listed);
        for (const FolderEntry &file : files.value_or(QList<FolderEntry>()))
            add(file);
    }
}

void DesktopEntryIndex::add(const FolderEntry &file) {
    const QString id = file.name.chopped(desktopSuffix.size());
    if (m_byId.contains(id) || !isReadableEntry(file.path))
        return;
    KeyFile keys(g_key_file_new(), g_key_file_free);
    if (!g_key_file_load_from_file(keys.get(), QFile::encodeName(file.path).constData(),
                                   G_KEY_FILE_NONE, nullptr))
        return;
    const char *group = G_KEY_FILE_DESKTOP_GROUP;
    Entry entry{id, file.path,
                takeText(g_key_file_get_locale_string(keys.get(), group, "Name", nullptr, nullptr)),
                takeText(g_key_file_get_string(keys.get(), group, "StartupWMClass", nullptr)),
                programOf(takeText(g_key_file_get_string(keys.get(), group, "Exec", nullptr)))};
    if (entry.name.isEmpty())
        entry.name = id;
    const qsizetype index = qsizetype(m_entries.size());
    m_entries.push_back(std::move(entry));
    const Entry &kept = m_entries.back();
    m_byId.insert(kept.id, index);
    m_byPath.insert(kept.path, index);
    if (!kept.startupWMClass.isEmpty() && !m_byStartupWMClass.contains(kept.startupWMClass))
        m_byStartupWMClass.insert(kept.startupWMClass, index);
    if (!kept.program.isEmpty() && !m_byProgram.contains(kept.program))
        m_byProgram.insert(kept.program, index);
    if (const QString lastPart = kept.id.section(QLatin1Char('.'), -1).toLower();
        lastPart.size() < kept.id.size() && !m_byIdLastPart.contains(lastPart))
        m_byIdLastPart.insert(lastPart, index);
}
