#include "SupportMail.h"

#include "platform/ApplicationBundles.h"

#include <QDesktopServices>
#include <QSysInfo>
#include <QUrlQuery>

// Without a mail program Qt's opener only writes a warning; the link is not offered then.
SupportMail::SupportMail(const ApplicationBundles &bundles)
    : SupportMail(
          QStringLiteral(QUELLORY_SUPPORT_ADDRESS),
          {QStringLiteral(QUELLORY_VERSION), QStringLiteral(QUELLORY_BUILD_NUMBER),
           QSysInfo::prettyProductName()},
          [](const QUrl &url) { QDesktopServices::openUrl(url); },
          [&bundles](const QUrl &url) {
              return bundles.pathForUrlScheme(url.scheme()).has_value();
          }) {}

SupportMail::SupportMail(const QString &address, const About &about, Opener open,
                         HandlerCheck hasHandler)
    : m_address(address), m_about(about), m_open(std::move(open)),
      m_hasHandler(std::move(hasHandler)) {}

QUrl SupportMail::url() const {
    const QString version = m_about.version.isEmpty() ? QStringLiteral("unknown") : m_about.version;
    const QString build = m_about.build.isEmpty() ? QStringLiteral("?") : m_about.build;
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), QStringLiteral("Quellory Support"));
    query.addQueryItem(QStringLiteral("body"), "\n\n---\nQuellory " + version + " (" + build +
                                                   ")\nLinux " + m_about.system);
    QUrl url;
    url.setScheme(QStringLiteral("mailto"));
    url.setPath(m_address);
    url.setQuery(query);
    return url;
}

bool SupportMail::canSend() const {
    const QUrl link = url();
    return link.isValid() && m_hasHandler(link);
}

void SupportMail::sendSupportMail() const {
    if (canSend())
        m_open(url());
}
