#pragma once

#include <QString>
#include <QUrl>

// Shows the user how a check for updates came out. Each call returns at once.
class UpdatePresenter {
public:
    virtual ~UpdatePresenter() = default;

    // currentVersion: the version that runs, which no released version is newer than.
    virtual void showUpToDate(const QString &currentVersion) = 0;
    // download: where the new version is got, offered to the user to open.
    virtual void showUpdateAvailable(const QString &newVersion, const QString &currentVersion,
                                     const QUrl &download) = 0;
    // reason: a sentence for the user.
    virtual void showCheckFailed(const QString &reason) = 0;
};
