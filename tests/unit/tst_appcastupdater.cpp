#include "fakes/RecordingUpdatePresenter.h"
#include "platform/linux/AppcastUpdater.h"

#include <QHash>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using Kind = RecordingUpdatePresenter::Kind;
Q_DECLARE_METATYPE(Kind)

namespace {

using namespace std::chrono_literals;

// An HTTP server on the loopback address that answers each path with canned bytes; a path it
// does not know gets no answer at all.
class CannedServer : public QObject {
public:
    QHash<QByteArray, QByteArray> answers;
    QList<QByteArray> requestedPaths;

    bool listen() {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { serve(socket); });
                connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                    m_requests.remove(socket);
                    socket->deleteLater();
                });
            }
        });
        return m_server.listen(QHostAddress::LocalHost);
    }
    QUrl url(const QString &path) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
    }

private:
    void serve(QTcpSocket *socket) {
        QByteArray &request = m_requests[socket];
        request += socket->readAll();
        if (!request.contains("\r\n\r\n"))
            return;
        const QByteArray path = request.split(' ').value(1);
        requestedPaths.append(path);
        if (const auto answer = answers.constFind(path); answer != answers.constEnd()) {
            socket->write(*answer);
            socket->disconnectFromHost();
        }
    }

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_requests;
};

QByteArray response(const QByteArray &statusLine, const QByteArray &body,
                    const QByteArray &headers = {}) {
    return "HTTP/1.1 " + statusLine + "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\nConnection: close\r\n" + headers + "\r\n" + body;
}

// An older release and the given one.
QByteArray feed(const QByteArray &version, const QByteArray &enclosure) {
    return "<?xml version='1.0' encoding='utf-8'?>\n"
           "<rss version='2.0' "
           "xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'>\n"
           "  <channel>\n"
           "    <title>Quellory</title>\n"
           "    <item>\n"
           "      <sparkle:version>0.9</sparkle:version>\n"
           "      <enclosure url='Quellory-0.9.tar.gz'/>\n"
           "    </item>\n"
           "    <item>\n"
           "      <sparkle:version>" +
           version +
           "</sparkle:version>\n"
           "      <enclosure url='" +
           enclosure +
           "'/>\n"
           "    </item>\n"
           "  </channel>\n"
           "</rss>\n";
}

} // namespace

class AppcastUpdaterTest : public QObject {
    Q_OBJECT

    CannedServer m_server;

private slots:
    void initTestCase() {
        QVERIFY(m_server.listen());
        m_server.answers["/newer.xml"] =
            response("200 OK", feed("1.3", "Quellory-1.3.tar.gz"), "Content-Type: text/xml\r\n");
        m_server.answers["/same.xml"] = response("200 OK", feed("1.2", "Quellory-1.2.tar.gz"));
        m_server.answers["/older.xml"] = response("200 OK", feed("1.1.9", "Quellory-1.1.9.tar.gz"));
        m_server.answers["/missing.xml"] = response("404 Not Found", "<h1>Not Found</h1>");
        m_server.answers["/broken.xml"] = response("500 Internal Server Error", "");
        m_server.answers["/text.xml"] = response("200 OK", "Hello, world!\n");
        m_server.answers["/empty.xml"] =
            response("200 OK", "<rss version='2.0'><channel></channel></rss>");
        m_server.answers["/noise.xml"] = "\x16\x03\x01\x02\x00garbage\r\n\r\n";
        m_server.answers["/hangup.xml"] = "";
        m_server.answers["/moved.xml"] =
            response("301 Moved Permanently", "", "Location: /releases/appcast.xml\r\n");
        m_server.answers["/releases/appcast.xml"] =
            response("200 OK", feed("2.0-beta.1", "Quellory-2.0b1.tar.gz"));
        m_server.answers["/insecure.xml"] =
            response("302 Found", "", "Location: http://updates.quellory.app/appcast.xml\r\n");
    }

    void checksOnlyWithAUsableAddress_data() {
        QTest::addColumn<QUrl>("feed");
        QTest::addColumn<bool>("usable");
        QTest::newRow("none") << QUrl() << false;
        QTest::newRow("https") << QUrl("https://quellory.app/appcast.xml") << true;
        QTest::newRow("http") << QUrl("http://quellory.app/appcast.xml") << false;
        QTest::newRow("http to loopback") << QUrl("http://127.0.0.1:8080/appcast.xml") << true;
        QTest::newRow("http to IPv6 loopback") << QUrl("http://[::1]/appcast.xml") << true;
        QTest::newRow("http to a name") << QUrl("http://localhost/appcast.xml") << false;
        QTest::newRow("http to the network") << QUrl("http://192.168.1.1/appcast.xml") << false;
        QTest::newRow("no host") << QUrl("https:///appcast.xml") << false;
        QTest::newRow("file") << QUrl("file:///srv/appcast.xml") << false;
        QTest::newRow("ftp") << QUrl("ftp://quellory.app/appcast.xml") << false;
    }
    void checksOnlyWithAUsableAddress() {
        QFETCH(QUrl, feed);
        QFETCH(bool, usable);
        RecordingUpdatePresenter presenter;
        AppcastUpdater updater(feed, "1.0", presenter);
        QVERIFY(!updater.canCheckForUpdates());
        QCOMPARE(updater.startUpdater(), usable);
        QCOMPARE(updater.canCheckForUpdates(), usable);
    }

    void showsTheOutcome_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<QString>("newVersion");
        QTest::addColumn<QString>("download"); // a path on the server
        QTest::addColumn<QString>("reason");   // a part of it

        QTest::newRow("newer") << "/newer.xml" << Kind::updateAvailable << "1.3"
                               << "/Quellory-1.3.tar.gz"
                               << "";
        QTest::newRow("same") << "/same.xml" << Kind::upToDate << ""
                              << ""
                              << "";
        QTest::newRow("older") << "/older.xml" << Kind::upToDate << ""
                               << ""
                               << "";
        QTest::newRow("redirected, links from where it ended")
            << "/moved.xml" << Kind::updateAvailable << "2.0-beta.1"
            << "/releases/Quellory-2.0b1.tar.gz"
            << "";
        QTest::newRow("not found") << "/missing.xml" << Kind::checkFailed << ""
                                   << ""
                                   << "answered with an error: 404 Not Found.";
        QTest::newRow("server error") << "/broken.xml" << Kind::checkFailed << ""
                                      << ""
                                      << "answered with an error: 500 Internal Server Error.";
        QTest::newRow("not a feed") << "/text.xml" << Kind::checkFailed << ""
                                    << ""
                                    << "answer isn't an update feed";
        QTest::newRow("feed without versions") << "/empty.xml" << Kind::checkFailed << ""
                                               << ""
                                               << "doesn't list any version of Quellory";
        QTest::newRow("not HTTP") << "/noise.xml" << Kind::checkFailed << ""
                                  << ""
                                  << "The update server 127.0.0.1 couldn't be reached: ";
        QTest::newRow("hung up") << "/hangup.xml" << Kind::checkFailed << ""
                                 << ""
                                 << "The update server 127.0.0.1 couldn't be reached: ";
        QTest::newRow("redirected to plain http")
            << "/insecure.xml" << Kind::checkFailed << ""
            << ""
            << "sent the request on to an address that isn't secure.";
        QTest::newRow("no answer") << "/silent.xml" << Kind::checkFailed << ""
                                   << ""
                                   << "took too long to answer.";
    }
    void showsTheOutcome() {
        QFETCH(QString, path);
        QFETCH(Kind, kind);
        QFETCH(QString, newVersion);
        QFETCH(QString, download);
        QFETCH(QString, reason);
        RecordingUpdatePresenter presenter;
        AppcastUpdater updater(m_server.url(path), "1.2.0", presenter, 1500ms);
        QVERIFY(updater.startUpdater());

        updater.checkForUpdates();
        QVERIFY(presenter.outcomes.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(presenter.outcomes.size(), 1, 10000);
        const RecordingUpdatePresenter::Outcome outcome = presenter.outcomes[0];
        QCOMPARE(outcome.kind, kind);
        QCOMPARE(outcome.newVersion, newVersion);
        QCOMPARE(outcome.download, download.isEmpty() ? QUrl() : m_server.url(download));
        QCOMPARE(outcome.currentVersion, kind == Kind::checkFailed ? "" : "1.2.0");
        QVERIFY2(outcome.reason.contains(reason), qPrintable(outcome.reason));
        QVERIFY(updater.canCheckForUpdates());
    }

    void checksOnceAtATime() {
        RecordingUpdatePresenter presenter;
        AppcastUpdater updater(m_server.url("/quiet.xml"), "1.2.0", presenter, 500ms);
        QVERIFY(updater.startUpdater());
        updater.checkForUpdates();
        QVERIFY(!updater.canCheckForUpdates());
        updater.checkForUpdates();

        QTRY_COMPARE_WITH_TIMEOUT(presenter.outcomes.size(), 1, 10000);
        QTest::qWait(200);
        QCOMPARE(presenter.outcomes.size(), 1);
        QCOMPARE(m_server.requestedPaths.count("/quiet.xml"), 1);

        // Over, the check may be asked for again.
        updater.checkForUpdates();
        QTRY_COMPARE_WITH_TIMEOUT(presenter.outcomes.size(), 2, 10000);
        QCOMPARE(m_server.requestedPaths.count("/quiet.xml"), 2);
    }

    void showsNothingWhenGoneWhileChecking() {
        RecordingUpdatePresenter presenter;
        {
            AppcastUpdater updater(m_server.url("/gone.xml"), "1.2.0", presenter, 100ms);
            QVERIFY(updater.startUpdater());
            updater.checkForUpdates();
            QTRY_VERIFY(m_server.requestedPaths.contains("/gone.xml"));
        }
        QTest::qWait(300);
        QVERIFY(presenter.outcomes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(AppcastUpdaterTest)
#include "tst_appcastupdater.moc"
