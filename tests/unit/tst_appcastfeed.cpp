#include "models/AppcastFeed.h"

#include <QTest>

namespace {

const QUrl feedAddress(QStringLiteral("https://quellory.app/updates/appcast.xml"));

// Moc reads raw strings as code and takes their "//" for comments: the feeds are plain literals.
QByteArray channel(const QByteArray &items) {
    return "<?xml version='1.0' encoding='utf-8'?>\n"
           "<rss version='2.0'\n"
           "     xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'\n"
           "     xmlns:dc='http://purl.org/dc/elements/1.1/'>\n"
           "  <channel>\n"
           "    <title>Quellory</title>\n"
           "    <link>https://quellory.app/</link>\n"
           "    <language>en</language>\n" +
           items +
           "  </channel>\n"
           "</rss>\n";
}

} // namespace

class AppcastFeedTest : public QObject {
    Q_OBJECT

private slots:
    void picksTheNewestItemOfARealFeed() {
        // As release tools write them: newest usually first, but not always; old items with the
        // version on the enclosure, newer ones with elements; descriptions and dates around.
        const AppcastFeed feed(
            channel(
                "<item>\n"
                "  <title>Version 1.10</title>\n"
                "  <pubDate>Tue, 14 May 2024 10:00:00 +0000</pubDate>\n"
                "  <sparkle:version>1.10.0</sparkle:version>\n"
                "  <sparkle:shortVersionString>1.10</sparkle:shortVersionString>\n"
                "  <sparkle:minimumSystemVersion>10.15</sparkle:minimumSystemVersion>\n"
                "  <description><![CDATA[<ul><li>Faster search</li></ul>]]></description>\n"
                "  <enclosure url='https://downloads.quellory.app/Quellory-1.10.tar.gz'\n"
                "             length='1048576' type='application/octet-stream'\n"
                "             sparkle:edSignature='c2lnbmF0dXJl'/>\n"
                "</item>\n"
                "<item>\n"
                "  <title>Version 1.9</title>\n"
                "  <enclosure url='https://downloads.quellory.app/Quellory-1.9.tar.gz'\n"
                "             sparkle:version='1.9' sparkle:shortVersionString='1.9 (Spring)'/>\n"
                "</item>\n"
                "<item>\n"
                "  <title>Version 1.11 beta</title>\n"
                "  <sparkle:channel>beta</sparkle:channel>\n"
                "  <sparkle:version>1.11b1</sparkle:version>\n"
                "  <enclosure url='https://downloads.quellory.app/Quellory-1.11b1.tar.gz'/>\n"
                "</item>\n"
                "<item>\n"
                "  <title>Version 1.2</title>\n"
                "  <dc:creator>release bot</dc:creator>\n"
                "  <sparkle:version>1.2</sparkle:version>\n"
                "  <link>https://quellory.app/releases/1.2</link>\n"
                "</item>\n"),
            feedAddress);
        QCOMPARE(feed.errorString(), QString());
        QCOMPARE(feed.items().size(), 3);
        const std::optional<AppcastFeed::Item> newest = feed.newestItem();
        QVERIFY(newest);
        QCOMPARE(newest->version.text(), "1.10.0");
        QCOMPARE(newest->displayVersion, "1.10");
        QCOMPARE(newest->link, QUrl("https://downloads.quellory.app/Quellory-1.10.tar.gz"));
        QCOMPARE(feed.items()[1].displayVersion, "1.9 (Spring)");
        QCOMPARE(feed.items()[2].link, QUrl("https://quellory.app/releases/1.2"));
    }

    void readsOneItem_data() {
        QTest::addColumn<QByteArray>("item");
        QTest::addColumn<QString>("version"); // empty: the item is left out
        QTest::addColumn<QString>("displayVersion");
        QTest::addColumn<QUrl>("link");
        const QUrl download("https://downloads.quellory.app/Quellory-2.0.tar.gz");

        QTest::newRow("versions as elements")
            << QByteArray("<sparkle:version>200</sparkle:version>"
                          "<sparkle:shortVersionString>2.0</sparkle:shortVersionString>"
                          "<enclosure url='" +
                          download.toEncoded() + "'/>")
            << "200"
            << "2.0" << download;
        QTest::newRow("versions on the enclosure")
            << QByteArray("<enclosure url='" + download.toEncoded() +
                          "' sparkle:version='200' sparkle:shortVersionString='2.0'/>")
            << "200"
            << "2.0" << download;
        QTest::newRow("element before enclosure")
            << QByteArray("<sparkle:version>2.0.1</sparkle:version>"
                          "<enclosure url='" +
                          download.toEncoded() + "' sparkle:version='2.0'/>")
            << "2.0.1"
            << "2.0.1" << download;
        QTest::newRow("short version only")
            << QByteArray("<sparkle:shortVersionString>2.0</sparkle:shortVersionString>"
                          "<link>https://quellory.app/2.0</link>")
            << "2.0"
            << "2.0" << QUrl("https://quellory.app/2.0");
        QTest::newRow("no version") << QByteArray("<title>Quellory 2.0</title><enclosure url='" +
                                                  download.toEncoded() + "'/>")
                                    << ""
                                    << "" << QUrl();
        QTest::newRow("version that is no number")
            << QByteArray("<sparkle:version>latest</sparkle:version><link>/x</link>") << ""
            << "" << QUrl();
        QTest::newRow("relative enclosure, against the feed's address")
            << QByteArray("<sparkle:version>2.0</sparkle:version>"
                          "<enclosure url=' Quellory-2.0.tar.gz '/>")
            << "2.0"
            << "2.0" << QUrl("https://quellory.app/updates/Quellory-2.0.tar.gz");
        QTest::newRow("neither enclosure nor link: the channel's link")
            << QByteArray("<sparkle:version>2.0</sparkle:version>") << "2.0"
            << "2.0" << QUrl("https://quellory.app/");
        QTest::newRow("no web address: the channel's link")
            << QByteArray("<sparkle:version>2.0</sparkle:version>"
                          "<enclosure url='file:///usr/bin/quellory'/>"
                          "<link>javascript:alert(1)</link>")
            << "2.0"
            << "2.0" << QUrl("https://quellory.app/");
        QTest::newRow("enclosure for another system only")
            << QByteArray("<sparkle:version>2.0</sparkle:version>"
                          "<link>https://quellory.app/2.0</link>"
                          "<enclosure url='https://example.com/Quellory.dmg' sparkle:os='macos'/>")
            << ""
            << "" << QUrl();
        QTest::newRow("enclosure for this system among others")
            << QByteArray("<sparkle:version>2.0</sparkle:version>"
                          "<enclosure url='https://example.com/Quellory.msi' sparkle:os='windows'/>"
                          "<enclosure url='" +
                          download.toEncoded() + "' sparkle:os='Linux'/>")
            << "2.0"
            << "2.0" << download;
        QTest::newRow("other channel")
            << QByteArray("<sparkle:version>2.0</sparkle:version><sparkle:channel>beta"
                          "</sparkle:channel><link>https://quellory.app/2.0</link>")
            << ""
            << "" << QUrl();
        QTest::newRow("version in another namespace")
            << QByteArray("<version xmlns='urn:x'>2.0</version><link>/2.0</link>") << ""
            << "" << QUrl();
    }
    void readsOneItem() {
        QFETCH(QByteArray, item);
        QFETCH(QString, version);
        QFETCH(QString, displayVersion);
        QFETCH(QUrl, link);
        const AppcastFeed feed(channel("<item>" + item + "</item>"), feedAddress);
        QCOMPARE(feed.errorString(), QString());
        if (version.isEmpty()) {
            QVERIFY(feed.items().isEmpty());
            QVERIFY(!feed.newestItem());
            return;
        }
        QCOMPARE(feed.items().size(), 1);
        QCOMPARE(feed.items()[0].version.text(), version);
        QCOMPARE(feed.items()[0].displayVersion, displayVersion);
        QCOMPARE(feed.items()[0].link, link);
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
        const QByteArray item =
            "<item><sparkle:version>9.0</sparkle:version><link>https://x.example/</link></item>";
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("plain text") << QByteArray("404 page not found\n");
        QTest::newRow("captive portal page")
            << QByteArray("<html><head><title>Sign in</title></head><body></body></html>");
        QTest::newRow("cut short") << channel(item).left(channel(item).indexOf("</channel>"));
        QTest::newRow("mismatched tags") << channel(item + "<item><title>x</item></title>");
        QTest::newRow("undeclared prefix")
            << QByteArray("<rss version='2.0'><channel>" + item + "</channel></rss>");
        QTest::newRow("garbage after the feed") << channel(item) + "<rss/>";
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
