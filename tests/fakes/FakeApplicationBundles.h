#pragma once

#include "platform/ApplicationBundles.h"

#include <atomic>
#include <QHash>

// A simulated tree of application folders and bundles, with ".app" as the bundles' suffix.
class FakeApplicationBundles final : public ApplicationBundles {
public:
    QList<ScanFolder> folders;
    std::optional<QString> mainID;
    QHash<QString, QString> installedPaths; // where the platform says an identifier lives
    mutable std::atomic<int> openCount = 0;

    // Adds an entry to a folder, which becomes readable; a bundle of none does not open.
    void add(const QString &folder, const QString &name, std::optional<BundleInfo> bundle) {
        m_listings[folder].append({name, folder + '/' + name});
        m_bundles.insert(folder + '/' + name, std::move(bundle));
    }

    QList<ScanFolder> scanFolders() const override { return folders; }
    std::optional<QList<FolderEntry>> contentsOfFolder(const QString &folder) const override {
        return m_listings.contains(folder) ? std::optional(m_listings.value(folder)) : std::nullopt;
    }
    QString bundleSuffix() const override { return QStringLiteral(".app"); }
    std::optional<BundleInfo> openBundle(const FolderEntry &entry) const override {
        ++openCount;
        return m_bundles.value(entry.path);
    }
    std::optional<QString> pathForBundleIdentifier(const QString &bundleID) const override {
        return installedPaths.contains(bundleID) ? std::optional(installedPaths.value(bundleID))
                                                 : std::nullopt;
    }
    std::optional<QString> pathForUrlScheme(const QString &) const override { return {}; }
    std::optional<QString> mainBundleIdentifier() const override { return mainID; }

private:
    QHash<QString, QList<FolderEntry>> m_listings;
    QHash<QString, std::optional<BundleInfo>> m_bundles;
};
