#include "IconTheme.h"

#include "RegularFile.h"

#include <algorithm>
#include <array>
#include <climits>
#include <glib.h>
#include <QDirIterator>
#include <QFileInfo>
#include <tuple>

namespace {

// The standard's order of preference within one directory.
constexpr std::array<QLatin1String, 3> extensions{QLatin1String(".png"), QLatin1String(".svg"),
                                                  QLatin1String(".xpm")};

const char *const themeGroup = "Icon Theme";

int extensionIndex(const QString &fileName) {
    for (size_t i = 0; i < extensions.size(); ++i)
        if (fileName.endsWith(extensions[i]))
            return int(i);
    return -1;
}

QStringList stringList(GKeyFile *file, const char *group, const char *key) {
    gsize length = 0;
    g_auto(GStrv) values = g_key_file_get_string_list(file, group, key, &length, nullptr);
    QStringList result;
    // Blanks around an item are no part of it, as GLib strips them (a vertical tab, a no-break
    // space stay).
    for (gsize i = 0; i < length; ++i) {
        if (const char *item = g_strstrip(values[i]); item[0] != '\0')
            result.append(QString::fromUtf8(item));
    }
    return result;
}

// Far beyond any icon drawn, and small enough that no sum or product of sizes and scales
// overflows: a theme's index may state anything.
constexpr int largestSize = 1 << 16;
constexpr int largestScale = 64;

int integer(GKeyFile *file, const QByteArray &group, const char *key, int fallback, int low,
            int high) {
    g_autoptr(GError) error = nullptr;
    const int value = g_key_file_get_integer(file, group.constData(), key, &error);
    return std::clamp(error ? fallback : value, low, high);
}

IconThemeDirectory::Type directoryType(GKeyFile *file, const QByteArray &group) {
    g_autofree gchar *type = g_key_file_get_string(file, group.constData(), "Type", nullptr);
    if (g_strcmp0(type, "Fixed") == 0)
        return IconThemeDirectory::Type::Fixed;
    if (g_strcmp0(type, "Scalable") == 0)
        return IconThemeDirectory::Type::Scalable;
    return IconThemeDirectory::Type::Threshold;
}

std::optional<IconThemeDirectory> readDirectory(GKeyFile *file, const QString &path) {
    const QByteArray group = path.toUtf8();
    const int size = integer(file, group, "Size", 0, 0, largestSize);
    if (!g_key_file_has_group(file, group.constData()) || size <= 0)
        return std::nullopt;
    IconThemeDirectory directory;
    directory.path = path;
    directory.size = size;
    directory.scale = integer(file, group, "Scale", 1, 1, largestScale);
    directory.type = directoryType(file, group);
    directory.minSize = integer(file, group, "MinSize", size, 0, largestSize);
    directory.maxSize = integer(file, group, "MaxSize", size, 0, largestSize);
    directory.threshold = integer(file, group, "Threshold", 2, 0, largestSize);
    return directory;
}

// A theme name is one folder name; anything else would lead the lookup elsewhere.
bool isThemeName(const QString &name) {
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && name != QLatin1String(".") &&
           name != QLatin1String("..");
}

} // namespace

std::optional<IconTheme> IconTheme::load(const QString &name, const QStringList &searchFolders) {
    if (!isThemeName(name))
        return std::nullopt;
    IconTheme theme;
    theme.m_name = name;
    for (const QString &folder : searchFolders) {
        const QString root = folder + QLatin1Char('/') + name;
        if (QFileInfo(root).isDir())
            theme.m_roots.append(root);
    }
    g_autoptr(GKeyFile) index = g_key_file_new();
    g_key_file_set_list_separator(index, ',');
    const auto indexed =
        std::find_if(theme.m_roots.cbegin(), theme.m_roots.cend(), [&](const QString &root) {
            return RegularFile::loadKeyFile(index, root + QLatin1String("/index.theme"));
        });
    if (indexed == theme.m_roots.cend() || !g_key_file_has_group(index, themeGroup))
        return std::nullopt;
    theme.m_parents = stringList(index, themeGroup, "Inherits");
    const QStringList paths = stringList(index, themeGroup, "Directories") +
                              stringList(index, themeGroup, "ScaledDirectories");
    for (const QString &path : paths)
        if (const auto directory = readDirectory(index, path))
            theme.m_directories.append(*directory);
    theme.indexFiles();
    return theme;
}

IconTheme IconTheme::looseIcons(const QStringList &folders) {
    IconTheme theme;
    theme.m_roots = folders;
    IconThemeDirectory anySize;
    anySize.size = 1;
    anySize.type = IconThemeDirectory::Type::Scalable;
    anySize.minSize = 1;
    anySize.maxSize = largestSize;
    theme.m_directories.append(anySize);
    theme.indexFiles();
    return theme;
}

QString IconTheme::lookupIcon(const QString &iconName, int size, int scale) const {
    const auto found = m_icons.constFind(iconName);
    if (found == m_icons.cend())
        return {};
    const QList<Candidate> &candidates = *found;
    for (const Candidate &candidate : candidates)
        if (m_directories.at(candidate.directory).matchesSize(size, scale))
            return filePath(iconName, candidate);
    const auto closest = std::min_element(
        candidates.cbegin(), candidates.cend(), [&](const Candidate &a, const Candidate &b) {
            return m_directories.at(a.directory).sizeDistance(size, scale) <
                   m_directories.at(b.directory).sizeDistance(size, scale);
        });
    return filePath(iconName, *closest);
}

// Lists every directory in every folder of the theme once. Candidates are kept in the order in
// which the standard's lookup visits them: directory, then folder, then extension.
void IconTheme::indexFiles() {
    const qsizetype directoryCount = std::min<qsizetype>(m_directories.size(), SHRT_MAX);
    const qsizetype rootCount = std::min<qsizetype>(m_roots.size(), SCHAR_MAX);
    for (qsizetype directory = 0; directory < directoryCount; ++directory) {
        for (qsizetype root = 0; root < rootCount; ++root) {
            QDirIterator files(folderOf(directory, root), QDir::Files);
            while (files.hasNext()) {
                const QString fileName = files.nextFileInfo().fileName();
                const int extension = extensionIndex(fileName);
                if (extension < 0)
                    continue;
                const QString iconName = fileName.chopped(extensions[size_t(extension)].size());
                m_icons[iconName].append({qint16(directory), qint8(root), qint8(extension)});
            }
        }
    }
    for (QList<Candidate> &candidates : m_icons)
        std::sort(candidates.begin(), candidates.end(), [](const Candidate &a, const Candidate &b) {
            return std::tie(a.directory, a.root, a.extension) <
                   std::tie(b.directory, b.root, b.extension);
        });
}

QString IconTheme::folderOf(qsizetype directory, qsizetype root) const {
    const QString &path = m_directories.at(directory).path;
    return path.isEmpty() ? m_roots.at(root) : m_roots.at(root) + QLatin1Char('/') + path;
}

QString IconTheme::filePath(const QString &iconName, const Candidate &candidate) const {
    return folderOf(candidate.directory, candidate.root) + QLatin1Char('/') + iconName +
           extensions[size_t(candidate.extension)];
}
