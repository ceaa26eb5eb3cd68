#include "SupportMail.h"

#include <QDesktopServices>
#include <QSysInfo>
#include <QUrlQuery>

SupportMail::SupportMail()
    : SupportMail(QStringLiteral(QUELLORY_SUPPORT_ADDRESS),
                  {QStringLiteral(QUELLORY_VERSION), QStringLiteral(QUELLORY_BUILD_NUMBER),
                   QSysInfo::prettyProductName()},
                  [](const QUrl &url) { QDesktopServices::openUrl(url); }) {}

SupportMail::SupportMail(const QString &address, const About &about, Opener open)
    : m_address(address), m_about(about), m_open(std::move(open)) {}

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

void SupportMail::sendSupportMail() const {
    if (const QUrl link = url(); link.isValid())
        m_open(link);
}
