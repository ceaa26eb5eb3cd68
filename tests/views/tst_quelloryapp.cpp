#include "app/QuelloryApp.h"
#include "app/SingleInstance.h"
#include "fakes/AppsListFixture.h"
#include "fakes/FakeLoginItemService.h"
#include "fakes/FakeUpdater.h"
#include "models/AppSettings.h"
#include "views/ViewEnvironment.h"

#include <QFile>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

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
                        workspace, time, updater, false);
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
};

QTEST_MAIN(QuelloryAppTest)
#include "tst_quelloryapp.moc"
