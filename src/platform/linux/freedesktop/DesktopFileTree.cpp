#include "DesktopFileTree.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <glib.h>
#include <QFile>
#include <QHash>
#include <QSet>
#include <QStringBuilder>
#include <QStringList>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {

constexpr std::string_view desktopSuffix = ".desktop";

bool hasDesktopSuffix(std::string_view name) {
    return name.ends_with(desktopSuffix);
}

bool isDirectory(const QByteArray &path) {
    struct stat status {};
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isNonDirectory(const QByteArray &path) {
    struct stat status {};
    return stat(path.constData(), &status) == 0 && !S_ISDIR(status.st_mode);
}

// Whether a listed entry is a folder to descend into; links are followed.
bool isSubfolder(DIR *stream, const dirent &entry) {
    if (entry.d_type == DT_DIR)
        return true;
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return false;
    struct stat status {};
    return fstatat(dirfd(stream), entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

// Within a folder IDs are unique: a later file takes the ID from an earlier one, as GIO's
// table of a folder's IDs keeps the last file it sees. Only names that begin with the name of
// a subfolder and '-' can repeat.
void keepLastOfEachName(QList<FolderEntry> &entries, const QStringList &subfolderPrefixes) {
    QHash<QString, qsizetype> positions;
    QList<FolderEntry> kept;
    kept.reserve(entries.size());
    for (FolderEntry &entry : entries) {
        const bool mayRepeat =
            std::any_of(subfolderPrefixes.begin(), subfolderPrefixes.end(),
                        [&](const QString &prefix) { return entry.name.startsWith(prefix); });
        const auto found = mayRepeat ? positions.constFind(entry.name) : positions.cend();
        if (found != positions.cend()) {
            kept[*found].path = std::move(entry.path);
            continue;
        }
        if (mayRepeat)
            positions.insert(entry.name, kept.size());
        kept.append(std::move(entry));
    }
    entries = std::move(kept);
}

bool isUtf8(std::string_view name) {
    const bool isAscii = std::all_of(name.begin(), name.end(),
                                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return isAscii || g_utf8_validate_len(name.data(), name.size(), nullptr);
}

class FolderWalk {
public:
    explicit FolderWalk(ListedFolders &listed) : m_listed(listed) {}

    // Lists a folder and its subfolders; false when the folder itself cannot be read.
    bool visit(const QString &path, const QString &idPrefix) {
        DIR *stream = opendir(QFile::encodeName(path).constData());
        if (!stream)
            return false;
        struct stat status {};
        const bool isNew = fstat(dirfd(stream), &status) == 0 && enter(status);
        QSet<QString> irregularNames;
        while (isNew) {
            const dirent *entry = readdir(stream);
            if (!entry)
                break;
            take(stream, *entry, path, idPrefix, irregularNames);
        }
        if (isNew) {
            m_ancestors.pop_back();
            if (const int fd = fcntl(dirfd(stream), F_DUPFD_CLOEXEC, 0); fd >= 0)
                m_listed.add(path, fd, std::move(irregularNames));
        }
        closedir(stream);
        return true;
    }

    QList<FolderEntry> entries() {
        if (!m_subfolderPrefixes.isEmpty())
            keepLastOfEachName(m_entries, m_subfolderPrefixes);
        return std::move(m_entries);
    }

private:
    // Refuses a folder that is already being listed further up: a link loop.
    bool enter(const struct stat &status) {
        const std::pair identity{status.st_dev, status.st_ino};
        if (std::find(m_ancestors.begin(), m_ancestors.end(), identity) != m_ancestors.end())
            return false;
        m_ancestors.push_back(identity);
        return true;
    }

    // Takes in one listed name, as an entry or as a subfolder to list. The texts are moved
    // into the entry rather than shared: each shared copy costs an atomic count.
    void take(DIR *stream, const dirent &entry, const QString &folder, const QString &idPrefix,
              QSet<QString> &irregularNames) {
        const std::string_view name = entry.d_name;
        // Names that are not UTF-8 have no QString that leads back to the file.
        if (name == "." || name == ".." || !isUtf8(name))
            return;
        QString text = QString::fromUtf8(name.data(), qsizetype(name.size()));
        QString path = folder % QLatin1Char('/') % text;
        if (!hasDesktopSuffix(name) && isSubfolder(stream, entry)) {
            const QString subfolderPrefix = idPrefix % text % QLatin1Char('-');
            if (idPrefix.isEmpty())
                m_subfolderPrefixes.append(subfolderPrefix);
            visit(path, subfolderPrefix);
            return;
        }
        if (entry.d_type != DT_REG)
            irregularNames.insert(text);
        m_entries.append({idPrefix.isEmpty() ? std::move(text) : idPrefix + text, std::move(path)});
    }

    ListedFolders &m_listed;
    QList<FolderEntry> m_entries;
    std::vector<std::pair<dev_t, ino_t>> m_ancestors;
    QStringList m_subfolderPrefixes; // "wine-" for the folder's subfolder "wine"
};

std::optional<QString> findIn(const QByteArray &folder, std::string_view id) {
    const QByteArray candidate = folder + '/' + QByteArray(id.data(), qsizetype(id.size()));
    if (isNonDirectory(candidate))
        return QFile::decodeName(candidate);
    for (size_t dash = id.find('-'); dash != std::string_view::npos;
         dash = id.find('-', dash + 1)) {
        const std::string_view subfolder = id.substr(0, dash);
        if (subfolder.empty() || subfolder == "." || subfolder == ".." ||
            hasDesktopSuffix(subfolder))
            continue;
        const QByteArray path = folder + '/' + QByteArray(subfolder.data(), qsizetype(dash));
        if (!isDirectory(path))
            continue;
        if (auto found = findIn(path, id.substr(dash + 1)))
            return found;
    }
    return std::nullopt;
}

} // namespace

std::optional<QList<FolderEntry>> DesktopFileTree::list(const QString &folder,
                                                        ListedFolders &listed) {
    FolderWalk walk(listed);
    if (!walk.visit(folder, {}))
        return std::nullopt;
    return walk.entries();
}

std::optional<QString> DesktopFileTree::find(const QString &folder, const QString &desktopFileId) {
    const QByteArray id = desktopFileId.toUtf8();
    if (id.isEmpty() || id.contains('/') || id.contains('\0'))
        return std::nullopt;
    return findIn(QFile::encodeName(folder), std::string_view(id.constData(), size_t(id.size())));
}
