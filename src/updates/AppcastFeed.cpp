#include "AppcastFeed.h"

#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

namespace {

// An item as written, before the fallbacks apply.
struct WrittenItem {
    QString version, shortVersion;
    QString enclosureVersion, enclosureShortVersion;
    QUrl enclosure, link;
    bool onOtherChannel = false;
    bool forOtherSystem = false;
};

bool isRss(const QXmlStreamReader &xml, QStringView name) {
    return xml.namespaceUri().isEmpty() && xml.name() == name;
}

bool isSparkle(const QXmlStreamReader &xml, QStringView name) {
    return xml.namespaceUri() == AppcastFeed::sparkleNamespace && xml.name() == name;
}

// Links that the program may hand to the desktop to open: web pages and downloads over https,
// nothing that would run or read something on this machine, nothing that a network in between
// could change. A feed that came over plain http, as only one on this machine may, can name its
// own server.
QUrl webLink(const QUrl &base, const QString &text) {
    const QUrl link = base.resolved(QUrl(text.trimmed()));
    if (!link.isValid() || link.host().isEmpty())
        return {};
    const bool isFeedsServer =
        link.scheme() == base.scheme() && link.host() == base.host() && link.port() == base.port();
    return link.scheme() == u"https" || (link.scheme() == u"http" && isFeedsServer) ? link : QUrl();
}

void readEnclosure(const QXmlStreamReader &xml, const QUrl &base, WrittenItem &item) {
    const QXmlStreamAttributes attributes = xml.attributes();
    const QStringView system = attributes.value(AppcastFeed::sparkleNamespace, "os"_L1);
    if (!system.isEmpty() && system.compare(u"linux", Qt::CaseInsensitive) != 0) {
        item.forOtherSystem = true;
        return;
    }
    const QUrl url = webLink(base, attributes.value("url"_L1).toString());
    if (url.isEmpty() || !item.enclosure.isEmpty())
        return;
    item.enclosure = url;
    item.enclosureVersion =
        attributes.value(AppcastFeed::sparkleNamespace, "version"_L1).toString().trimmed();
    item.enclosureShortVersion =
        attributes.value(AppcastFeed::sparkleNamespace, "shortVersionString"_L1)
            .toString()
            .trimmed();
}

WrittenItem readItem(QXmlStreamReader &xml, const QUrl &base) {
    WrittenItem item;
    while (xml.readNextStartElement()) {
        if (isRss(xml, u"enclosure")) {
            readEnclosure(xml, base, item);
            xml.skipCurrentElement();
        } else if (isRss(xml, u"link")) {
            item.link = webLink(base, xml.readElementText());
        } else if (isSparkle(xml, u"version")) {
            item.version = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"shortVersionString")) {
            item.shortVersion = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"channel")) {
            item.onOtherChannel = true;
            xml.skipCurrentElement();
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}

QString firstNonEmpty(std::initializer_list<QString> texts) {
    for (const QString &text : texts)
        if (!text.isEmpty())
            return text;
    return {};
}

} // namespace

AppcastFeed::AppcastFeed(const QByteArray &document, const QUrl &address) {
    QXmlStreamReader xml(document);
    QList<WrittenItem> written;
    QUrl channelLink;
    if (xml.readNextStartElement()) {
        if (!isRss(xml, u"rss"))
            xml.raiseError(QStringLiteral("the document is not an RSS feed but <%1>")
                               .arg(xml.qualifiedName()));
        while (xml.readNextStartElement()) {
            if (!isRss(xml, u"channel")) {
                xml.skipCurrentElement();
                continue;
            }
            while (xml.readNextStartElement()) {
                if (isRss(xml, u"item"))
                    written.append(readItem(xml, address));
                else if (isRss(xml, u"link"))
                    channelLink = webLink(address, xml.readElementText());
                else
                    xml.skipCurrentElement();
            }
        }
    }
    // A document cut short may lack the very item that matters: all of it must have been read.
    while (!xml.atEnd() && !xml.hasError())
        xml.readNext();
    if (xml.hasError()) {
        QString message = xml.errorString();
        if (message.endsWith(u'.'))
            message.chop(1);
        m_error = QStringLiteral("line %1, column %2: %3")
                      .arg(xml.lineNumber())
                      .arg(xml.columnNumber())
                      .arg(message);
        return;
    }

    for (const WrittenItem &item : written) {
        if (item.onOtherChannel || (item.forOtherSystem && item.enclosure.isEmpty()))
            continue;
        const QString version = firstNonEmpty(
            {item.version, item.enclosureVersion, item.shortVersion, item.enclosureShortVersion});
        const QUrl link = !item.enclosure.isEmpty() ? item.enclosure
                          : !item.link.isEmpty()    ? item.link
                                                    : channelLink;
        if (!VersionNumber(version).isValid() || link.isEmpty())
            continue;
        m_items.append({VersionNumber(version),
                        firstNonEmpty({item.shortVersion, item.enclosureShortVersion, version}),
                        link});
    }
}

std::optional<AppcastFeed::Item> AppcastFeed::newestItem() const {
    std::optional<Item> newest;
    for (const Item &item : m_items)
        if (!newest || item.version > newest->version)
            newest = item;
    return newest;
}
