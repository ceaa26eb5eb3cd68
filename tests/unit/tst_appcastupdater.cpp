#include "fakes/RecordingUpdatePresenter.h"
#include "updates/AppcastUpdater.h"

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

// An older release and the given one.
QByteArray feed(const QByteArray &version, const QByteArray &enclosure) {
    return "<?xml version='1.0' encoding='utf-8'?>\n<rss version='2.0' "
           "xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'><channel>\n"
           "<item><sparkle:version>0.9</sparkle:version><enclosure url='Quellory-0.9.tar.gz'/>"
           "</item>\n<item><sparkle:version>" +
           version + "</sparkle:version><enclosure url='" + enclosure +
           "'/></item>\n</channel></rss>\n";
}

} // namespace

class AppcastUpdaterTest : public QObject {
    Q_OBJECT

    CannedServer m_server;

private slots:
    void initTestCase() {
        QVERIFY(m_server.listen());
        const auto answer = [this](const QByteArray &path, const QByteArray &status,
                                   const QByteArray &body, const QByteArray &headers = {}) {
            m_server.answers[path] = "HTTP/1.1 " + status +
                                     "\r\nContent-Length: " + QByteArray::number(body.size()) +
                                     "\r\nConnection: close\r\n" + headers + "\r\n" + body;
        };
        answer("/newer.xml", "200 OK", feed("1.3", "Quellory-1.3.tar.gz"),
               "Content-Type: text/xml\r\n");
        answer("/same.xml", "200 OK", feed("1.2", "Quellory-1.2.tar.gz"));
        answer("/older.xml", "200 OK", feed("1.1.9", "Quellory-1.1.9.tar.gz"));
        answer("/missing.xml", "404 Not Found", "<h1>Not Found</h1>");
        answer("/text.xml", "200 OK", "Hello, world!\n");
        answer("/empty.xml", "200 OK", "<rss version='2.0'><channel></channel></rss>");
        answer("/moved.xml", "301 Moved Permanently", "", "Location: /releases/appcast.xml\r\n");
        answer("/releases/appcast.xml", "200 OK", feed("2.0-beta.1", "Quellory-2.0b1.tar.gz"));
        answer("/insecure.xml", "302 Found", "",
               "Location: http://updates.quellory.app/appcast.xml\r\n");
        m_server.answers["/noise.xml"] = "\x16\x03\x01\x02\x00garbage\r\n\r\n";
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
        QTest::newRow("no host") << QUrl("https:///appcast.xml") << false;
        QTest::newRow("file") << QUrl("file:///srv/appcast.xml") << false;
    }
    void checksOnlyWithAUsableAddress() {
        QFETCH(QUrl, feed);
        RecordingUpdatePresenter presenter;
        AppcastUpdater updater(feed, "1.0", presenter);
        QVERIFY(!updater.canCheckForUpdates());
        QTEST(updater.startUpdater(), "usable");
        QTEST(updater.canCheckForUpdates(), "usable");
    }

    void showsTheOutcome_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<QString>("newVersion");
        QTest::addColumn<QString>("download"); // a path on the server
        QTest::addColumn<QString>("reason");   // a part of it
        const auto row = [](const char *name, const char *path, Kind kind, const char *newVersion,
                            const char *download, const char *reason) {
            QTest::newRow(name) << path << kind << newVersion << download << reason;
        };
        const Kind failed = Kind::checkFailed;
        row("newer", "/newer.xml", Kind::updateAvailable, "1.3", "/Quellory-1.3.tar.gz", "");
        row("same", "/same.xml", Kind::upToDate, "", "", "");
        row("older", "/older.xml", Kind::upToDate, "", "", "");
        row("redirected, links from where it ended", "/moved.xml", Kind::updateAvailable,
            "2.0-beta.1", "/releases/Quellory-2.0b1.tar.gz", "");
        row("not found", "/missing.xml", failed, "", "", "answered with an error: 404 Not Found.");
        row("not a feed", "/text.xml", failed, "", "", "answer isn't an update feed");
        row("feed without versions", "/empty.xml", failed, "", "",
            "doesn't list any version of Quellory");
        row("not HTTP", "/noise.xml", failed, "", "",
            "The update server 127.0.0.1 couldn't be reached: ");
        row("redirected to plain http", "/insecure.xml", failed, "", "",
            "sent the request on to an address that isn't secure.");
        row("no answer", "/silent.xml", failed, "", "", "took too long to answer.");
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
