#pragma once

#include <QHash>
#include <QMutex>
#include <QSet>
#include <QString>

// The folders whose desktop files were listed last, kept open, and what their listing saw. Reading
// a listed file then costs no more system calls than reading can: opening it walks one path
// component instead of the whole path, and a file that the listing saw as a regular file needs
// no fstat() to prove it is one. A folder listed again replaces what was kept of it. Safe to use
// from several threads.
class ListedFolders {
public:
    ListedFolders() = default;
    ~ListedFolders();
    ListedFolders(const ListedFolders &) = delete;
    ListedFolders &operator=(const ListedFolders &) = delete;

    // Takes over the open descriptor of a folder that has just been listed, with the names in it
    // that were not regular files (links included).
    void add(const QString &folder, int fd, QSet<QString> irregularNames);

    struct OpenFile {
        int fd = -1;            // -1 on error
        bool isRegular = false; // the listing saw a regular file
    };
    // Opens the file at path for reading, through its folder when that was listed.
    OpenFile open(const QString &path, int flags) const;

private:
    struct Folder {
        int fd = -1;
        QSet<QString> irregularNames;
    };

    mutable QMutex m_lock;
    QHash<QString, Folder> m_folders;
    // The folder opened through last, as entries come folder by folder.
    mutable QString m_lastPath;
    mutable const Folder *m_last = nullptr;
};
