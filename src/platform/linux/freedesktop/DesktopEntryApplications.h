#pragma once

#include "DesktopEntryKeys.h"
#include "ListedFolders.h"
#include "platform/ApplicationBundles.h"
#include "ProgramLocator.h"

#include <optional>
#include <QStringList>
#include <string>
#include <vector>

class DesktopEntryFile;

// The installed applications of a freedesktop desktop: the desktop entries in the "applications"
// folders of the XDG data directories. An entry is offered exactly when GIO would list it and
// g_app_info_should_show() would show it, so that the catalog matches the desktop's own menus.
class DesktopEntryApplications final : public ApplicationBundles {
public:
    // The parts of the process environment that decide what is installed and shown.
    struct Environment {
        QString home;
        QString dataHome;                      // $XDG_DATA_HOME, empty when unset
        QString dataDirs;                      // $XDG_DATA_DIRS, empty when unset
        QString currentDesktop;                // $XDG_CURRENT_DESKTOP
        std::optional<std::string> searchPath; // $PATH, none when unset
        QStringList languages;                 // as g_get_language_names() gives them, best first

        static Environment ofProcess();
    };

    // Reads the environment of the process now.
    DesktopEntryApplications();
    explicit DesktopEntryApplications(const Environment &environment);

    QList<ScanFolder> scanFolders() const override { return m_folders; }
    std::optional<QList<FolderEntry>> contentsOfFolder(const QString &folder) const override;
    QString bundleSuffix() const override;
    std::optional<BundleInfo> openBundle(const FolderEntry &entry) const override;
    std::optional<QString> pathForBundleIdentifier(const QString &bundleID) const override;
    std::optional<QString> pathForUrlScheme(const QString &scheme) const override;
    std::optional<QString> mainBundleIdentifier() const override;

private:
    bool isShown(const DesktopEntryFile &file) const;
    bool isShownOnThisDesktop(const DesktopEntryFile &file) const;
    bool canRun(const DesktopEntryFile &file) const;

    QList<ScanFolder> m_folders;
    std::vector<std::string> m_currentDesktops;
    DesktopEntryKeys m_keys;
    ProgramLocator m_programs;
    mutable ListedFolders m_listedFolders;
};
