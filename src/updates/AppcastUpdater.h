#pragma once

#include "platform/UpdatePresenter.h"
#include "platform/Updater.h"

#include <chrono>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

// Checks an update feed (see AppcastFeed) over HTTPS when asked, and has the presenter show
// whether it lists a version newer than the one that runs.
class AppcastUpdater final : public QObject, public Updater {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultTimeout{20000};

    // The feed's address fixed when the program was built; empty when it was built without one.
    static QUrl builtInFeedUrl();
    // Whether the feed may be read from url: over https, or over http from this machine's own
    // loopback address (a local test server), and nowhere else. Redirects are held to it too.
    static bool isAllowedFeedUrl(const QUrl &url);

    // feed: the feed's address; currentVersion: the program's own version; presenter, which must
    // outlive the updater, shows each outcome; a check that has not finished after timeout fails.
    AppcastUpdater(const QUrl &feed, const QString &currentVersion, UpdatePresenter &presenter,
                   std::chrono::milliseconds timeout = defaultTimeout, QObject *parent = nullptr);

    bool startUpdater() override;
    bool canCheckForUpdates() const override;
    void checkForUpdates() override;

private:
    enum class Interruption { none, timedOut, insecureRedirect };

    void followRedirect(const QUrl &target);
    void finish();
    // Why the check failed, as a sentence for the user; empty when the feed arrived.
    QString failure(const QNetworkReply &reply) const;
    void present(const QByteArray &document, const QUrl &address);

    QUrl m_feed;
    QString m_currentVersion;
    UpdatePresenter &m_presenter;
    std::chrono::milliseconds m_timeout;
    QNetworkAccessManager *m_network;
    QPointer<QNetworkReply> m_reply;
    QTimer m_deadline;
    Interruption m_interruption = Interruption::none;
    bool m_started = false;
};
