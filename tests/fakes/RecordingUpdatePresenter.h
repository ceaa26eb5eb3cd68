#pragma once

#include "platform/UpdatePresenter.h"

#include <QList>

// Keeps every outcome that the updater would have shown the user.
class RecordingUpdatePresenter final : public UpdatePresenter {
public:
    enum class Kind { upToDate, updateAvailable, checkFailed };
    struct Outcome {
        Kind kind;
        QString newVersion;
        QString currentVersion;
        QUrl download;
        QString reason;
    };

    QList<Outcome> outcomes;

    void showUpToDate(const QString &currentVersion) override {
        outcomes.append({Kind::upToDate, {}, currentVersion, {}, {}});
    }
    void showUpdateAvailable(const QString &newVersion, const QString &currentVersion,
                             const QUrl &download) override {
        outcomes.append({Kind::updateAvailable, newVersion, currentVersion, download, {}});
    }
    void showCheckFailed(const QString &reason) override {
        outcomes.append({Kind::checkFailed, {}, {}, {}, reason});
    }
};
