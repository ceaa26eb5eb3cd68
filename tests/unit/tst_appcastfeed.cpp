#include "updates/AppcastFeed.h"

#include <QTest>

namespace {

const QUrl feedAddress(QStringLiteral("https://quellory.app/updates/appcast.xml"));
const QByteArray download = "https://downloads.quellory.app/Quellory-2.0.tar.gz";

// Moc reads raw strings as code and takes their "//" for comments: the feeds are plain literals.
QByteArray channel(const QByteArray &items) {
    return "<?xml version='1.0' encoding='utf-8'?>\n"
           "<rss version='2.0' xmlns:dc='http://purl.org/dc/elements/1.1/'\n"
           "     xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'>\n"
           "  <channel><title>Quellory</title><link>https://quellory.app/</link>\n" +
           items + "  </channel>\n</rss>\n";
}

} // namespace

class AppcastFeedTest : public QObject {
    Q_OBJECT

private slots:
    void picksTheNewestItemOfARealFeed() {
        // As release tools write them: newest usually first, but not always; old items with the
        // version on the enclosure, newer ones with elements; descriptions and dates around.
        const AppcastFeed feed(
            channel("<item><title>Version 1.10</title>\n"
                    "  <pubDate>Tue, 14 May 2024 10:00:00 +0000</pubDate>\n"
                    "  <sparkle:version>1.10.0</sparkle:version>\n"
                    "  <sparkle:shortVersionString>1.10</sparkle:shortVersionString>\n"
                    "  <description><![CDATA[<ul><li>Faster search</li></ul>]]></description>\n"
                    "  <enclosure url='https://downloads.quellory.app/Quellory-1.10.tar.gz'\n"
                    "             length='1048576' sparkle:edSignature='c2lnbmF0dXJl'/></item>\n"
                    "<item><enclosure url='https://downloads.quellory.app/Quellory-1.9.tar.gz'\n"
                    "  sparkle:version='1.9' sparkle:shortVersionString='1.9 (Spring)'/></item>\n"
                    "<item><sparkle:channel>beta</sparkle:channel>\n"
                    "  <sparkle:version>1.11b1</sparkle:version>\n"
                    "  <enclosure url='https://downloads.quellory.app/Quellory-1.11b1.tar.gz'/>\n"
                    "</item>\n"
                    "<item><dc:creator>release bot</dc:creator>\n"
                    "  <sparkle:version>1.2</sparkle:version>\n"
                    "  <link>https://quellory.app/releases/1.2</link></item>\n"),
            feedAddress);
        QCOMPARE(feed.errorString(), QString());
        QCOMPARE(feed.items().size(), 3);
        const std::optional<AppcastFeed::Item> newest = feed.newestItem();
        QVERIFY(newest);
        QCOMPARE(newest->version.text(), "1.10.0");
        QCOMPARE(newest->displayVersion, "1.10");
        QCOMPARE(newest->link, QUrl("https://downloads.quellory.app/Quellory-1.10.tar.gz"));
        QCOMPARE(feed.items()[1].displayVersion, "1.9 (Spring)");
        QCOMPARE(feed.items()[2].displayVersion, "1.2");
        QCOMPARE(feed.items()[2].link, QUrl("https://quellory.app/releases/1.2"));
    }

    void readsOneItem_data() {
        QTest::addColumn<QByteArray>("item");
        QTest::addColumn<QString>("version"); // empty: the item is left out
        QTest::addColumn<QUrl>("link");
        const auto row = [](const char *name, const QByteArray &item, const char *version,
                            const QUrl &link) { QTest::newRow(name) << item << version << link; };
        const QByteArray two = "<sparkle:version>2.0</sparkle:version>";
        const QUrl home("https://quellory.app/");
        row("element before enclosure",
            "<sparkle:version>2.0.1</sparkle:version><enclosure url='" + download +
                "' sparkle:version='2.0'/>",
            "2.0.1", QUrl(download));
        row("short version only",
            "<sparkle:shortVersionString>2.0</sparkle:shortVersionString>"
            "<link>https://quellory.app/2.0</link>",
            "2.0", QUrl("https://quellory.app/2.0"));
        row("no version", "<title>Quellory 2.0</title><enclosure url='" + download + "'/>", "",
            QUrl());
        row("version that is no number", "<sparkle:version>latest</sparkle:version>", "", QUrl());
        row("relative enclosure, against the feed's address",
            two + "<enclosure url=' Quellory-2.0.tar.gz '/>", "2.0",
            QUrl("https://quellory.app/updates/Quellory-2.0.tar.gz"));
        row("neither enclosure nor link: the channel's link", two, "2.0", home);
        row("no https address: the channel's link",
            two + "<enclosure url='file:///usr/bin/quellory'/><link>javascript:alert(1)</link>"
                  "<enclosure url='http://quellory.app/2.0.tar.gz'/>",
            "2.0", home);
        row("enclosure for another system only",
            two + "<link>https://quellory.app/2.0</link>"
                  "<enclosure url='https://example.com/Quellory.dmg' sparkle:os='macos'/>",
            "", QUrl());
        row("enclosure for this system among others",
            two +
                "<enclosure url='https://example.com/Quellory.msi' sparkle:os='windows'/>"
                "<enclosure url='" +
                download + "' sparkle:os='Linux'/>",
            "2.0", QUrl(download));
        row("version in another namespace", "<version xmlns='urn:x'>2.0</version><link>/2</link>",
            "", QUrl());
    }
    void readsOneItem() {
        QFETCH(QByteArray, item);
        QFETCH(QString, version);
        const AppcastFeed feed(channel("<item>" + item + "</item>"), feedAddress);
        QCOMPARE(feed.errorString(), QString());
        QCOMPARE(feed.items().size(), version.isEmpty() ? 0 : 1);
        QCOMPARE(feed.newestItem().has_value(), !version.isEmpty());
        if (feed.newestItem()) {
            QCOMPARE(feed.newestItem()->version.text(), version);
            QTEST(feed.newestItem()->link, "link");
        }
    }

    void newestOfEqualVersionsIsTheFirst() {
        const AppcastFeed feed(channel("<item><sparkle:version>3.0</sparkle:version>"
                                       "<link>https://a.example/</link></item>"
                                       "<item><sparkle:version>3.0.0</sparkle:version>"
                                       "<link>https://b.example/</link></item>"
                                       "<item><sparkle:version>3.0rc2</sparkle:version>"
                                       "<link>https://c.example/</link></item>"),
                               feedAddress);
        QCOMPARE(feed.newestItem()->link, QUrl("https://a.example/"));
    }

    void refusesWhatIsNoFeed_data() {
        QTest::addColumn<QByteArray>("document");
        const QByteArray feed = channel("<item><sparkle:version>9.0</sparkle:version></item>");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("captive portal page")
            << QByteArray("<html><head><title>Sign in</title></head><body></body></html>");
        QTest::newRow("cut short") << feed.left(feed.indexOf("</channel>"));
        QTest::newRow("undeclared prefix")
            << "<rss version='2.0'><channel>" + feed.mid(feed.indexOf("<item>"));
        QTest::newRow("garbage after the feed") << feed + "<rss/>";
    }
    void refusesWhatIsNoFeed() {
        QFETCH(QByteArray, document);
        const AppcastFeed feed(document, feedAddress);
        QVERIFY(!feed.errorString().isEmpty());
        QVERIFY(feed.items().isEmpty());
        QVERIFY(!feed.newestItem());
    }
};

QTEST_GUILESS_MAIN(AppcastFeedTest)
#include "tst_appcastfeed.moc"
