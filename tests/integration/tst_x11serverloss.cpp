#include "fakes/RecordingLog.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/LinuxSession.h"
#include "platform/linux/session/SessionWorkspace.h"
#include "session/XSession.h"

#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

// The X server going away under the workspace, and no X server at all.
class X11ServerLossTest : public QObject {
    Q_OBJECT

private slots:
    void serverGoneLeavesAnEmptyListAndOneLine() {
        auto session = std::make_unique<XSession>();
        QVERIFY(session->isReady());
        DesktopEntryApplications bundles;
        RecordingLog log;
        QThreadPool pool;
        const auto sessionWorkspace = LinuxSession::workspace(bundles, log, pool);
        Workspace &workspace = *sessionWorkspace;
        const qint64 pid = session->start(QStringLiteral("xterm"));
        QTRY_VERIFY_WITH_TIMEOUT(workspace.runningApplication(qint32(pid)), 15000);
        const RunningApplicationPtr xterm = workspace.runningApplication(qint32(pid));
        QSignalSpy ends(&workspace, &Workspace::didTerminateApplication);

        session.reset();
        QTRY_COMPARE(log.lines.size(), 1);
        QVERIFY2(log.lines.front().startsWith("Quellory: lost the connection to the X server"),
                 qPrintable(log.lines.front()));
        QVERIFY(workspace.runningApplications().isEmpty());
        QVERIFY(!ends.isEmpty());
        QCOMPARE(ends.front().front().value<RunningApplicationPtr>(), xterm);
        // Asking again neither crashes nor repeats itself.
        QVERIFY(!xterm->terminate());
        QTest::qWait(100);
        QVERIFY(workspace.runningApplications().isEmpty());
        QCOMPARE(log.lines.size(), 1);
    }

    void noServerAtAll() {
        qputenv("DISPLAY", ":9999");
        DesktopEntryApplications bundles;
        RecordingLog log;
        QThreadPool pool;
        const auto sessionWorkspace = LinuxSession::workspace(bundles, log, pool);
        Workspace &workspace = *sessionWorkspace;
        QVERIFY(workspace.runningApplications().isEmpty());
        QVERIFY(!workspace.runningApplication(1));
        QCOMPARE(log.lines.size(), 1);
        QVERIFY2(log.lines.front().startsWith("Quellory: cannot connect to the X server"),
                 qPrintable(log.lines.front()));
    }
};

QTEST_GUILESS_MAIN(X11ServerLossTest)
#include "tst_x11serverloss.moc"
