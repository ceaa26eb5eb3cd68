#pragma once

#include "ListedFolders.h"
#include "platform/ApplicationBundles.h"

#include <optional>

// The desktop files of one "applications" folder, named by desktop file ID as the Desktop Entry
// Specification defines it and as GIO reads the folder: a file in a subfolder has the subfolder
// names in front of its own, each followed by '-' ("wine/Programs/x.desktop" is
// "wine-Programs-x.desktop"). Every name ending in ".desktop" is an entry, whatever it is;
// other subfolders are descended into, following links but never round a loop.
class DesktopFileTree {
public:
    // Every entry of the folder and its subfolders, named by ID, with its real path; none when
    // the folder cannot be read. Where two files share an ID, the one listed last holds it.
    // The folders are left open in listed, for reading their files.
    static std::optional<QList<FolderEntry>> list(const QString &folder, ListedFolders &listed);
    // The file with that desktop file ID in the folder or its subfolders, or none.
    static std::optional<QString> find(const QString &folder, const QString &desktopFileId);
};
