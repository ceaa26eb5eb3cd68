#pragma once

#include "platform/ApplicationBundles.h"

#include <QHash>
#include <QMutex>

// A simulated tree of application folders and bundles.
class FakeApplicationBundles final : public ApplicationBundles {
public:
    FakeApplicationBundles(QList<ScanFolder> folders, QString suffix = QStringLiteral(".app"))
        : m_folders(std::move(folders)), m_suffix(std::move(suffix)) {}

    // Adds an entry to a folder (which becomes readable); a bundle of none is an entry that does
    // not open as a bundle.
    void addEntry(const QString &folder, const QString &name, std::optional<BundleInfo> bundle) {
        const QString path = folder + QLatin1Char('/') + name;
        m_listings[folder].append({name, path});
        m_bundles.insert(path, std::move(bundle));
    }
    void setInstalledPath(const QString &bundleID, const QString &path) {
        m_installed.insert(bundleID, path);
    }
    void setMainBundleIdentifier(std::optional<QString> id) { m_main = std::move(id); }
    int openCount() const {
        QMutexLocker locker(&m_lock);
        return m_opens;
    }

    QList<ScanFolder> scanFolders() const override { return m_folders; }
    std::optional<QList<FolderEntry>> contentsOfFolder(const QString &folder) const override {
        const auto found = m_listings.constFind(folder);
        if (found == m_listings.cend())
            return std::nullopt;
        return *found;
    }
    QString bundleSuffix() const override { return m_suffix; }
    std::optional<BundleInfo> openBundle(const FolderEntry &entry) const override {
        QMutexLocker locker(&m_lock);
        ++m_opens;
        return m_bundles.value(entry.path);
    }
    std::optional<QString> pathForBundleIdentifier(const QString &bundleID) const override {
        const auto found = m_installed.constFind(bundleID);
        if (found == m_installed.cend())
            return std::nullopt;
        return *found;
    }
    std::optional<QString> mainBundleIdentifier() const override { return m_main; }

private:
    QList<ScanFolder> m_folders;
    QString m_suffix;
    QHash<QString, QList<FolderEntry>> m_listings;
    QHash<QString, std::optional<BundleInfo>> m_bundles;
    QHash<QString, QString> m_installed;
    std::optional<QString> m_main;
    mutable QMutex m_lock;
    mutable int m_opens = 0;
};
