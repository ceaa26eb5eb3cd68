#pragma once

#include "updates/VersionNumber.h"

#include <optional>
#include <QByteArray>
#include <QLatin1StringView>
#include <QList>
#include <QString>
#include <QUrl>

// An update feed ("appcast"): an RSS 2.0 channel whose items are released versions of the
// program. An item names its version in Sparkle's namespace, as an element (sparkle:version,
// sparkle:shortVersionString) or as attributes of its enclosure, and is got from the enclosure's
// address, else from the item's link, else from the channel's.
class AppcastFeed {
public:
    static constexpr QLatin1StringView sparkleNamespace{
        "http://www.andymatuschak.org/xml-namespaces/sparkle"};

    struct Item {
        // What the program compares: sparkle:version, else the short version string.
        VersionNumber version;
        // What the user reads: the short version string, else the version.
        QString displayVersion;
        // An https address (http only on the server of a feed that came over http).
        QUrl link;
    };

    // Reads the feed that was fetched from address; relative links resolve against it.
    AppcastFeed(const QByteArray &document, const QUrl &address);

    // Empty when the feed was read, else why it could not be: in English, for the record, without
    // a closing full stop.
    const QString &errorString() const { return m_error; }
    // The items that this program can use, in the feed's order: those with a version and a link,
    // for this system (an enclosure's sparkle:os, when there is one, is "linux") and on the
    // default channel (no sparkle:channel).
    const QList<Item> &items() const { return m_items; }
    // The item with the highest version; of equal ones, the first.
    std::optional<Item> newestItem() const;

private:
    QString m_error;
    QList<Item> m_items;
};
