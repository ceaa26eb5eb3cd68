#pragma once

#include <optional>
#include <QList>
#include <QString>

// One folder in which installed applications are looked for.
struct ScanFolder {
    QString path;
    bool isSystem = false;
};

// One candidate application found by listing a folder.
struct FolderEntry {
    // The name under which the folder lists the entry. For a desktop entry in a subfolder this
    // is its desktop file ID with the suffix ("wine-Programs-x.desktop"), not its file name.
    QString name;
    // Where the entry really lies on disk.
    QString path;
};

// What an application bundle says about itself.
struct BundleInfo {
    QString bundleIdentifier; // empty when the bundle has none
    std::optional<QString> displayName;
    std::optional<QString> bundleName;
    // False for a bundle that is installed but must not be offered (a hidden desktop entry, one
    // meant for another desktop, one whose program is missing). It still claims its identifier,
    // so that a user's own hidden copy hides the system's entry of the same identifier.
    bool isOffered = true;
    // The platform files the application among the system's utilities.
    bool isUtility = false;
};

// The installed applications of the platform: the folders they live in and their bundles.
// Every operation may be called from any thread.
class ApplicationBundles {
public:
    virtual ~ApplicationBundles() = default;

    // The folders to scan, in the order that decides which copy of an application wins.
    virtual QList<ScanFolder> scanFolders() const = 0;
    // The entries of a folder, in the order the file system gives them; none when the folder
    // cannot be read.
    virtual std::optional<QList<FolderEntry>> contentsOfFolder(const QString &folder) const = 0;
    // The case-sensitive suffix of an application bundle's entry name.
    virtual QString bundleSuffix() const = 0;
    // The bundle behind an entry, or none when the entry is not a readable bundle.
    virtual std::optional<BundleInfo> openBundle(const FolderEntry &entry) const = 0;
    // Where the application with this identifier is installed: the copy that would be launched.
    virtual std::optional<QString> pathForBundleIdentifier(const QString &bundleID) const = 0;
    // Where the application that the user chose for links of this scheme ("mailto") is
    // installed, or none when nothing handles them.
    virtual std::optional<QString> pathForUrlScheme(const QString &scheme) const = 0;
    // The identifier of this program's own bundle as installed, or none.
    virtual std::optional<QString> mainBundleIdentifier() const = 0;
};
