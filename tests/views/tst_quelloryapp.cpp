#include "app/QuelloryApp.h"
#include "app/SingleInstance.h"
#include "fakes/AppsListFixture.h"
#include "fakes/FakeLoginItemService.h"
#include "fakes/FakeUpdater.h"
#include "models/AppSettings.h"
#include "views/ViewEnvironment.h"

#include <poll.h>
#include <QDir>
#include <QFile>
#include <QMenuBar>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

// The program as a whole over a simulated session, and its one instance per session.
class QuelloryAppTest : public QObject {
    Q_OBJECT

private:
    struct Program : AppsListSession {
        FakeLoginItemService loginItems;
        AppSettings settings{defaults, loginItems};
        FakeUpdater updater;
        std::optional<QuelloryApp> app;

        explicit Program(bool hasFeed) {
            updater.hasFeed = hasFeed;
            app.emplace(ViewEnvironment{settings, monitor, catalog, usage, icons, actions, bundles},
                        workspace, time, updater);
        }
        QStringList applicationMenu() {
            QStringList texts;
            QMenu *menu = app->mainWindow().menuBar()->actions().front()->menu();
            for (const QAction *action : menu->actions())
                texts << (action->isSeparator() ? QStringLiteral("---")
                          : action->isEnabled() ? action->text()
                                                : "(" + action->text() + ")");
            return texts;
        }
    };

    // Asks from another thread, as a second process would: the instance answers on this one.
    static bool reachFromAnotherThread(const QString &name) {
        bool reached = false;
        QThread *thread =
            QThread::create([&] { reached = SingleInstance(name).reachRunningInstance(); });
        thread->start();
        const bool hasFinished = QTest::qWaitFor([thread] { return thread->isFinished(); }, 10000);
        thread->wait();
        delete thread;
        return hasFinished && reached;
    }

    // A peer that talks to the socket directly, without waiting for it.
    static int connectTo(const QString &name) {
        const int peer = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(name).constData(), sizeof address.sun_path);
        ::connect(peer, reinterpret_cast<const sockaddr *>(&address), sizeof address);
        return peer;
    }
    static bool isLetGo(int peer) {
        char byte;
        const ssize_t read = recv(peer, &byte, 1, MSG_DONTWAIT);
        return read == 0 || (read < 0 && errno != EAGAIN);
    }

private slots:
    void applicationMenuOffersUpdatesAfterAbout() {
        Program withFeed(true);
        QCOMPARE(withFeed.app->mainWindow().windowTitle(), "Quellory");
        QCOMPARE(withFeed.applicationMenu(),
                 QStringList({"About Quellory", "Check for Updates…", "---", "Quit"}));
        withFeed.app->mainWindow().menuBar()->actions().front()->menu()->actions()[1]->trigger();
        QCOMPARE(withFeed.updater.checks, 1);

        Program withoutFeed(false);
        QCOMPARE(withoutFeed.applicationMenu(),
                 QStringList({"About Quellory", "(Check for Updates…)", "---", "Quit"}));
    }

    void startingAgainReopensTheRunningInstance() {
        QTemporaryDir runtime;
        const QString name = runtime.filePath("quellory.socket");
        SingleInstance first(name);
        QVERIFY(!first.reachRunningInstance());
        Program program(false);
        connect(&first, &SingleInstance::reopenRequested, &*program.app, &QuelloryApp::reopen);
        program.app->start();
        QVERIFY(QTest::qWaitForWindowExposed(&program.app->mainWindow()));
        program.app->mainWindow().close();
        QVERIFY(!program.app->mainWindow().isVisible());
        QVERIFY(reachFromAnotherThread(name));
        QTRY_VERIFY(program.app->mainWindow().isVisible());
    }

    void takesOverASocketThatNobodyAnswers() {
        QTemporaryDir runtime;
        const QString name = runtime.filePath("quellory.socket");
        // What a crashed instance leaves behind.
        QFile stale(name);
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.close();
        SingleInstance instance(name);
        QVERIFY(!instance.reachRunningInstance());
        QVERIFY(reachFromAnotherThread(name));
    }

    void staysOneInstanceWhileTheFirstIsBusy() {
        QTemporaryDir runtime;
        const QString name = runtime.filePath("quellory.socket");
        SingleInstance first(name);
        QVERIFY(!first.reachRunningInstance());
        QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
        bool secondRuns = true;
        QThread *second =
            QThread::create([&] { secondRuns = !SingleInstance(name).reachRunningInstance(); });
        second->start();
        // Busy past every wait of the second start: no request is taken meanwhile.
        QThread::sleep(5);
        QVERIFY(second->wait(10000));
        delete second;
        QVERIFY(!secondRuns);
        QTRY_COMPARE(reopened.count(), 1);
        QVERIFY(reachFromAnotherThread(name));
        QCOMPARE(reopened.count(), 2);
    }

    void withstandsPeersThatHoldOnOrFloodIt() {
        QTemporaryDir runtime;
        const QString name = runtime.filePath("quellory.socket");
        SingleInstance instance(name);
        QVERIFY(!instance.reachRunningInstance());
        QSignalSpy reopened(&instance, &SingleInstance::reopenRequested);
        // Room for the peers' ends and a few of the instance's, not for one per peer.
        const int peerCount = 400;
        rlimit saved{};
        QVERIFY(getrlimit(RLIMIT_NOFILE, &saved) == 0);
        rlimit lowered = saved;
        lowered.rlim_cur = rlim_t(QDir("/proc/self/fd").count()) + peerCount + 200;
        QVERIFY(lowered.rlim_cur <= saved.rlim_max && setrlimit(RLIMIT_NOFILE, &lowered) == 0);
        std::vector<int> peers;
        while (peers.size() < peerCount) {
            for (int batch = 0; batch < 20; ++batch)
                peers.push_back(connectTo(name));
            QTest::qWait(10);
        }
        // A line without end, as long as the socket takes.
        const QByteArray flood(1 << 20, 'x');
        send(peers.back(), flood.constData(), size_t(flood.size()), MSG_NOSIGNAL);
        QTest::qWait(100);
        QVERIFY(QFile::exists(name));
        QVERIFY(reachFromAnotherThread(name));
        QCOMPARE(reopened.count(), 1);
        QTRY_VERIFY(std::all_of(peers.begin(), peers.end(), isLetGo));
        setrlimit(RLIMIT_NOFILE, &saved);
        for (const int peer : peers)
            close(peer);
    }

    void answersOnlyTheSameUser() {
        if (geteuid() != 0)
            QSKIP("only root can connect as another user");
        QTemporaryDir runtime;
        const QString name = runtime.filePath("quellory.socket");
        SingleInstance instance(name);
        QVERIFY(!instance.reachRunningInstance());
        QSignalSpy reopened(&instance, &SingleInstance::reopenRequested);
        // Open the way to the socket for everyone: only the peer's own credentials stop it.
        QVERIFY(chmod(QFile::encodeName(runtime.path()).constData(), 0711) == 0);
        QVERIFY(chmod(QFile::encodeName(name).constData(), 0777) == 0);
        const pid_t child = fork();
        if (child == 0) {
            if (setgid(65534) != 0 || setuid(65534) != 0)
                _exit(2);
            const int peer = connectTo(name);
            pollfd answer{peer, POLLIN, 0};
            char reply[3];
            const bool isAnswered = send(peer, "reopen\n", 7, MSG_NOSIGNAL) == 7 &&
                                    poll(&answer, 1, 5000) == 1 && recv(peer, reply, 3, 0) > 0;
            _exit(isAnswered ? 1 : 0);
        }
        int status = -1;
        pid_t ended = 0;
        QTRY_VERIFY(ended == child || (ended = waitpid(child, &status, WNOHANG)) == child);
        QCOMPARE(WEXITSTATUS(status), 0);
        QCOMPARE(reopened.count(), 0);
    }

    void keepsTheSocketWhereOnlyTheUserMayCreateIt() {
        const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_RUNTIME_DIR");
        const QString name = SingleInstance::sessionSocketName();
        const QString cache =
            QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
        QVERIFY2(name.startsWith(cache + '/'), qPrintable(name));
        struct stat folder {};
        QVERIFY(lstat(QFile::encodeName(QFileInfo(name).path()).constData(), &folder) == 0);
        QCOMPARE(folder.st_mode & 0777, 0700u);
        // A link in the folder's place leads where others may write.
        QVERIFY(QDir(QFileInfo(name).path()).removeRecursively());
        QVERIFY(QFile::link(QDir::tempPath(), QFileInfo(name).path()));
        QCOMPARE(SingleInstance::sessionSocketName(), QString());
        QVERIFY(QFile::remove(QFileInfo(name).path()));
        qputenv("XDG_RUNTIME_DIR", runtime);
    }
};

QTEST_MAIN(QuelloryAppTest)
#include "tst_quelloryapp.moc"
