#include "AppcastUpdater.h"

#include "updates/AppcastFeed.h"
#include "updates/VersionNumber.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

QUrl AppcastUpdater::builtInFeedUrl() {
    return QUrl(QStringLiteral(QUELLORY_APPCAST_URL));
}

bool AppcastUpdater::isAllowedFeedUrl(const QUrl &url) {
    if (!url.isValid() || url.host().isEmpty())
        return false;
    if (url.scheme() == u"https")
        return true;
    return url.scheme() == u"http" && QHostAddress(url.host()).isLoopback();
}

AppcastUpdater::AppcastUpdater(const QUrl &feed, const QString &currentVersion,
                               UpdatePresenter &presenter, std::chrono::milliseconds timeout,
                               QObject *parent)
    : QObject(parent), m_feed(feed), m_currentVersion(currentVersion), m_presenter(presenter),
      m_timeout(timeout), m_network(new QNetworkAccessManager(this)) {
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        m_interruption = Interruption::timedOut;
        m_reply->abort();
    });
}

bool AppcastUpdater::startUpdater() {
    m_started = isAllowedFeedUrl(m_feed);
    return m_started;
}

bool AppcastUpdater::canCheckForUpdates() const {
    return m_started && !m_reply;
}

void AppcastUpdater::checkForUpdates() {
    if (!canCheckForUpdates())
        return;
    QNetworkRequest request(m_feed);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::UserVerifiedRedirectPolicy);
    request.setHeader(QNetworkRequest::UserAgentHeader, "Quellory/" + m_currentVersion);
    m_interruption = Interruption::none;
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::redirected, this, &AppcastUpdater::followRedirect);
    connect(m_reply, &QNetworkReply::finished, this, &AppcastUpdater::finish);
    m_deadline.start(m_timeout);
}

void AppcastUpdater::followRedirect(const QUrl &target) {
    if (isAllowedFeedUrl(target)) {
        emit m_reply->redirectAllowed();
    } else {
        m_interruption = Interruption::insecureRedirect;
        m_reply->abort();
    }
}

void AppcastUpdater::finish() {
    m_deadline.stop();
    // The check is over before its outcome shows, so that the user may ask again from there.
    QNetworkReply *reply = m_reply;
    m_reply = nullptr;
    reply->deleteLater();
    if (const QString reason = failure(*reply); !reason.isEmpty())
        m_presenter.showCheckFailed(reason);
    else
        present(reply->readAll(), reply->url());
}

QString AppcastUpdater::failure(const QNetworkReply &reply) const {
    switch (m_interruption) {
    case Interruption::timedOut:
        return tr("The update server took too long to answer.");
    case Interruption::insecureRedirect:
        return tr("The update server sent the request on to an address that isn't secure.");
    case Interruption::none:
        break;
    }
    const QString host = reply.url().host();
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status >= 400) {
        const QString phrase =
            reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
        return tr("The update server answered with an error: %1 %2.").arg(status).arg(phrase);
    }
    switch (reply.error()) {
    case QNetworkReply::NoError:
        return {};
    case QNetworkReply::HostNotFoundError:
        return tr("The update server %1 couldn't be found. Check that this computer is connected "
                  "to the internet.")
            .arg(host);
    case QNetworkReply::SslHandshakeFailedError:
        return tr("A secure connection to the update server %1 couldn't be made: %2.")
            .arg(host, reply.errorString());
    default:
        return tr("The update server %1 couldn't be reached: %2.").arg(host, reply.errorString());
    }
}

void AppcastUpdater::present(const QByteArray &document, const QUrl &address) {
    const AppcastFeed feed(document, address);
    if (!feed.errorString().isEmpty()) {
        m_presenter.showCheckFailed(
            tr("The update server's answer isn't an update feed (%1).").arg(feed.errorString()));
        return;
    }
    const std::optional<AppcastFeed::Item> newest = feed.newestItem();
    if (!newest) {
        m_presenter.showCheckFailed(
            tr("The update feed doesn't list any version of Quellory for this system."));
        return;
    }
    if (newest->version > VersionNumber(m_currentVersion))
        m_presenter.showUpdateAvailable(newest->displayVersion, m_currentVersion, newest->link);
    else
        m_presenter.showUpToDate(m_currentVersion);
}
