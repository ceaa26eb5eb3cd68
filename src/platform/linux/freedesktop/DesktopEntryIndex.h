#pragma once

#include "platform/ApplicationBundles.h"

#include <ctime>
#include <QHash>
#include <QList>
#include <QString>
#include <vector>

// Every desktop entry of the applications folders, hidden ones included, by the evidence that
// ties a window to its application: its ID, its file, its StartupWMClass and its program. Where
// two entries claim the same evidence, the one first in XDG order wins.
class DesktopEntryIndex {
public:
    struct Entry {
        QString id; // the desktop file ID without ".desktop"
        QString path;
        QString name; // the localized Name, else the ID
        QString startupWMClass;
        QString program; // the file name of the Exec program
    };

    // Names are localized for the languages of the process. Nothing is read until the first
    // refresh.
    explicit DesktopEntryIndex(QList<ScanFolder> folders);

    // Reads the folders, or reads them again when one has changed since they were read.
    void refreshIfChanged();

    const Entry *byId(const QString &id) const { return find(m_byId, id); }
    const Entry *byPath(const QString &path) const { return find(m_byPath, path); }
    const Entry *byStartupWMClass(const QString &wmClass) const {
        return find(m_byStartupWMClass, wmClass);
    }
    const Entry *byProgram(const QString &program) const { return find(m_byProgram, program); }
    // The entry whose reverse-DNS ID ends in this part, case aside ("org.xfce.mousepad" for
    // "Mousepad").
    const Entry *byIdLastPart(const QString &part) const {
        return find(m_byIdLastPart, part.toLower());
    }

private:
    void read();
    void add(const FolderEntry &file);
    const Entry *find(const QHash<QString, qsizetype> &map, const QString &key) const {
        const auto it = map.constFind(key);
        return it == map.cend() ? nullptr : &m_entries[size_t(*it)];
    }
    std::vector<timespec> modificationTimes() const;

    QList<ScanFolder> m_folders;
    bool m_hasRead = false;
    std::vector<timespec> m_readTimes;
    std::vector<Entry> m_entries;
    QHash<QString, qsizetype> m_byId, m_byPath, m_byStartupWMClass, m_byProgram, m_byIdLastPart;
};
