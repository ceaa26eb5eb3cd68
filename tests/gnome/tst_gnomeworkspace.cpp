#include "fakes/WriteFile.h"
#include "platform/linux/session/ProcessFacts.h"
#include "platform/linux/wayland/GnomeShellWindows.h"
#include "session/GnomeShellSession.h"
#include "session/WorkspaceFixture.h"

#include <array>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QFile>

using Rule = ApplicationMatcher::Rule;
Q_DECLARE_METATYPE(Rule)

namespace {

constexpr int appTimeoutMs = 30000;

QProcessEnvironment variable(const QString &name, const QString &value) {
    QProcessEnvironment environment;
    environment.insert(name, value);
    return environment;
}

QDBusMessage callExtension(GnomeShellSession &session, const QString &method,
                           const QVariantList &arguments) {
    auto message =
        QDBusMessage::createMethodCall(QStringLiteral("app.quellory.Quellory.Shell"),
                                       QStringLiteral("/app/quellory/Quellory/Shell"),
                                       QStringLiteral("app.quellory.Quellory.Shell"), method);
    message.setArguments(arguments);
    return session.bus().call(message);
}

// The id of a window of the process that the extension lists as an X11 window, or 0.
quint64 x11WindowOf(GnomeShellSession &session, qint64 processIdentifier) {
    const QDBusMessage reply = callExtension(session, QStringLiteral("ListWindows"), {});
    if (reply.signature() != QLatin1String("a(tsisssbs)"))
        return 0;
    const auto list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        quint64 id = 0;
        qint32 pid = 0;
        QString appId, title, windowClass, clientType, type;
        bool isSkipTaskbar = false;
        list.beginStructure();
        list >> id >> appId >> pid >> title >> windowClass >> clientType >> isSkipTaskbar >> type;
        list.endStructure();
        if (pid == processIdentifier && clientType == QLatin1String("x11"))
            return id;
    }
    return 0;
}

} // namespace

// The workspace that the program picks on GNOME, on a real GNOME Shell with Quellory's
// extension installed but off, as right after the package was installed: real programs, their
// identity, the polite close, refusals, and the shell going away.
class GnomeWorkspaceTest : public QObject, WorkspaceFixture {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_session = std::make_unique<GnomeShellSession>(GnomeShellSession::Extension::installed);
        QVERIFY(m_session->isReady());
        // The program as GNOME starts it, on the shell's session bus.
        const QProcessEnvironment environment = m_session->environment();
        for (const char *name :
             {"DBUS_SESSION_BUS_ADDRESS", "WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP"})
            qputenv(name, environment.value(QLatin1String(name)).toUtf8());
        qunsetenv("DISPLAY");
        m_bundles = std::make_unique<DesktopEntryApplications>();
        m_workspace = LinuxSession::workspace(*m_bundles, m_log, m_pool);

        m_foot = m_session->start(QStringLiteral("foot"));
        m_mousepad = startMousepadWithText();
        m_qt = m_session->start(
            QStringLiteral(QUELLORY_QT_WINDOW), {QStringLiteral("org.example.QtWindow")},
            variable(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland")));
        QVERIFY(m_foot && m_mousepad && m_qt);
        QTRY_VERIFY_WITH_TIMEOUT(
            application(m_foot) && application(m_mousepad) && application(m_qt), appTimeoutMs);
    }

    void cleanupTestCase() {
        m_workspace.reset();
        m_session.reset();
    }

    void applicationsAppearOnceWithTheirIdentity_data() {
        QTest::addColumn<int>("program");
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<QString>("name");
        QTest::addColumn<Rule>("rule");
        QTest::newRow("foot") << 0 << "foot"
                              << "Foot" << Rule::statedId;
        // Its app_id is "mousepad": the shell knows better.
        QTest::newRow("mousepad") << 1 << "org.xfce.mousepad"
                                  << "Mousepad" << Rule::statedId;
        // No entry names it: the shell says "window:N", and its app_id names it.
        QTest::newRow("Qt program") << 2 << "org.example.QtWindow"
                                    << "org.example.QtWindow" << Rule::windowClass;
    }
    void applicationsAppearOnceWithTheirIdentity() {
        QFETCH(int, program);
        const qint64 processIdentifier = std::array{m_foot, m_mousepad, m_qt}.at(size_t(program));
        const RunningApplicationPtr app = application(processIdentifier);
        QTEST(handle(app)->match().rule, "rule");
        QCOMPARE(app->processIdentifier(), processIdentifier);
        QTEST(app->bundleIdentifier().value_or(QString()), "identifier");
        QTEST(app->localizedName().value_or(QString()), "name");
        QCOMPARE(app->activationPolicy(), RunningApplication::ActivationPolicy::Regular);
        QCOMPARE(applicationsWithId(app->bundleIdentifier().value_or(QString())).size(), 1);
        // The client turned the extension on without a word.
        QVERIFY2(m_log.lines.isEmpty(), qPrintable(m_log.lines.join('\n')));
    }

    void malformedCallsAreRefusedWithoutHarm() {
        const QList<RunningApplicationPtr> before = m_workspace->runningApplications();
        const quint64 unknown = 0xfffffffffffULL;
        const QString unknownWindow =
            QStringLiteral("app.quellory.Quellory.Shell.Error.UnknownWindow");
        const QString invalidArgs = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
        const struct {
            QString method;
            QVariantList arguments;
            QString error;
        } calls[] = {
            {QStringLiteral("Close"), {QVariant::fromValue(qulonglong(unknown))}, unknownWindow},
            {QStringLiteral("Activate"), {QVariant::fromValue(qulonglong(unknown))}, unknownWindow},
            {QStringLiteral("Close"), {QStringLiteral("1")}, invalidArgs},
            {QStringLiteral("Close"), {}, invalidArgs},
            {QStringLiteral("Activate"), {QVariant::fromValue(qulonglong(1)), 2}, invalidArgs},
            {QStringLiteral("Eval"),
             {QStringLiteral("global.context")},
             QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")},
        };
        for (const auto &call : calls) {
            const QDBusMessage reply = callExtension(*m_session, call.method, call.arguments);
            QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
            QCOMPARE(reply.errorName(), call.error);
        }
        QTest::qWait(200);
        QCOMPARE(m_workspace->runningApplications(), before);
        QVERIFY(ProcessFacts::isRunning(qint32(m_foot)));
    }

    // Mutter kills an X11 client that does not take part in WM_DELETE_WINDOW: those are closed
    // over X11, never through the shell.
    void closesNoX11WindowThroughTheShell() {
        const qint64 xterm = m_session->start(QStringLiteral("xterm"));
        quint64 window = 0;
        QTRY_VERIFY_WITH_TIMEOUT((window = x11WindowOf(*m_session, xterm)) != 0, appTimeoutMs);
        const QDBusMessage reply = callExtension(*m_session, QStringLiteral("Close"),
                                                 {QVariant::fromValue(qulonglong(window))});
        QCOMPARE(reply.errorName(), QStringLiteral("app.quellory.Quellory.Shell.Error.NotWayland"));
        QTest::qWait(300);
        QVERIFY(ProcessFacts::isRunning(qint32(xterm)));
        // This workspace has no X11 source: the shell's list alone does not name it.
        QVERIFY(!application(xterm));
    }

    void quitClosesFootAndMousepadAsksFirst() {
        const RunningApplicationPtr foot = application(m_foot);
        QVERIFY(foot->terminate());
        QTRY_VERIFY_WITH_TIMEOUT(foot->isTerminated(), appTimeoutMs);
        QVERIFY(!application(m_foot));

        const RunningApplicationPtr mousepad = application(m_mousepad);
        QVERIFY(mousepad->terminate());
        // Its prompt about the unsaved text comes up, and it keeps running.
        QTRY_COMPARE_WITH_TIMEOUT(handle(mousepad)->windows().size(), size_t(2), appTimeoutMs);
        QVERIFY(ProcessFacts::isRunning(qint32(m_mousepad)));
        QVERIFY(!mousepad->isTerminated());
    }

    void shellGoneLeavesAnEmptyListAndOneLine() {
        QVERIFY(!m_workspace->runningApplications().isEmpty());
        QVERIFY(m_session->stopShell());
        QTRY_VERIFY_WITH_TIMEOUT(m_workspace->runningApplications().isEmpty(), appTimeoutMs);
        // Its programs may leave before the shell's name does.
        QTRY_VERIFY2(m_log.lines.size() == 1, qPrintable(m_log.lines.join('\n')));
        QVERIFY2(m_log.lines.front().contains(QLatin1String("window list went away")),
                 qPrintable(m_log.lines.front()));
        QTest::qWait(200);
        QVERIFY(m_workspace->runningApplications().isEmpty());
        QCOMPARE(m_log.lines.size(), 1);
    }

    // Installed during the session: the shell does not know it before the next login.
    void extensionNotLoadedIsSaidInOneLine() {
        GnomeShellSession session(GnomeShellSession::Extension::absent);
        QVERIFY(session.isReady());
        RecordingLog log;
        GnomeShellWindows shell(session.bus(), log);
        QTRY_COMPARE(log.lines.size(), 1);
        QVERIFY2(log.lines.front().contains(QLatin1String("has not loaded the Quellory extension")),
                 qPrintable(log.lines.front()));
        QVERIFY(!shell.isServing());
        QVERIFY(shell.windows().empty());
    }

private:
    RunningApplicationPtr application(qint64 processIdentifier) {
        m_workspace->runningApplications();
        return m_workspace->runningApplication(qint32(processIdentifier));
    }

    // Mousepad with a document whose text has changed since it was opened: its own edit action,
    // over the session bus, stands in for typing.
    qint64 startMousepadWithText() {
        const QString path =
            m_session->environment().value(QStringLiteral("HOME")) + QStringLiteral("/notes.txt");
        if (!writeFile(path, "a line\n"))
            return 0;
        const qint64 mousepad =
            m_session->start(QStringLiteral("mousepad"), {path},
                             variable(QStringLiteral("GDK_BACKEND"), QStringLiteral("wayland")));
        auto edit = QDBusMessage::createMethodCall(
            QStringLiteral("org.xfce.mousepad"), QStringLiteral("/org/xfce/mousepad/window/1"),
            QStringLiteral("org.gtk.Actions"), QStringLiteral("Activate"));
        QDBusArgument noParameter;
        noParameter.beginArray(qMetaTypeId<QDBusVariant>());
        noParameter.endArray();
        edit << QStringLiteral("edit.duplicate-line-selection") << QVariant::fromValue(noParameter)
             << QVariantMap();
        QDeadlineTimer deadline(appTimeoutMs);
        while (m_session->bus().call(edit).type() != QDBusMessage::ReplyMessage) {
            if (deadline.hasExpired())
                return 0;
            QTest::qWait(100);
        }
        return mousepad;
    }

    std::unique_ptr<GnomeShellSession> m_session;
    qint64 m_foot = 0;
    qint64 m_mousepad = 0;
    qint64 m_qt = 0;
};

QTEST_GUILESS_MAIN(GnomeWorkspaceTest)
#include "tst_gnomeworkspace.moc"
