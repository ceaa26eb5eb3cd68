#pragma once

#include "IconThemeDirectory.h"

#include <optional>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// One installed icon theme: its directories and the icon files in them, read once, so that a
// lookup touches no file. Lookups follow the Icon Theme Specification and may run on several
// threads at once.
class IconTheme {
public:
    // Reads the theme from its folders under the search folders (index.theme from the first
    // that has one). None when no search folder holds the theme.
    static std::optional<IconTheme> load(const QString &name, const QStringList &searchFolders);
    // The icons that lie loose in the folders themselves, each good for any size; the last
    // resort of a lookup.
    static IconTheme looseIcons(const QStringList &folders);

    const QString &name() const { return m_name; }
    // The themes this one inherits from, in order.
    const QStringList &parents() const { return m_parents; }
    // The directories that index.theme describes well enough to look in, in its order.
    const QList<IconThemeDirectory> &directories() const { return m_directories; }
    // The file of the icon in a directory made for the size, else in the nearest directory;
    // empty when the theme lacks the icon.
    QString lookupIcon(const QString &iconName, int size, int scale) const;

private:
    // Where one file of an icon lies: which directory, in which of the theme's folders, with
    // which extension. Kept small, since a theme holds thousands.
    struct Candidate {
        qint16 directory;
        qint8 root;
        qint8 extension;
    };

    void indexFiles();
    QString folderOf(qsizetype directory, qsizetype root) const;
    QString filePath(const QString &iconName, const Candidate &candidate) const;

    QString m_name;
    QStringList m_parents;
    QStringList m_roots;
    QList<IconThemeDirectory> m_directories;
    QHash<QString, QList<Candidate>> m_icons;
};
