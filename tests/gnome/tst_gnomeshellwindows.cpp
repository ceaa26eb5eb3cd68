#include "fakes/RecordingLog.h"
#include "platform/linux/session/ProcessFacts.h"
#include "platform/linux/wayland/GnomeShellWindows.h"
#include "session/GnomeShellSession.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QTest>

namespace {

constexpr int appTimeoutMs = 30000;

using Window = GnomeShellWindows::Window;

QProcessEnvironment variable(const QString &name, const QString &value) {
    QProcessEnvironment environment;
    environment.insert(name, value);
    return environment;
}

const Window *windowOf(const GnomeShellWindows &shell, qint64 processIdentifier) {
    for (const Window &window : shell.windows())
        if (window.processIdentifier == processIdentifier && window.type == QLatin1String("normal"))
            return &window;
    return nullptr;
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

} // namespace

// Quellory's extension in a real GNOME Shell, read through its client: the shell's own
// application ids, the polite close, refusals, and the shell going away.
class GnomeShellWindowsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        // Installed but off, as after installing the package: the client turns it on.
        m_session = std::make_unique<GnomeShellSession>(GnomeShellSession::Extension::installed);
        QVERIFY(m_session->isReady());
        m_shell = std::make_unique<GnomeShellWindows>(m_session->bus(), m_log);
        m_foot = m_session->start(QStringLiteral("foot"));
        m_mousepad = startMousepadWithText();
        m_qt = m_session->start(
            QStringLiteral("/usr/lib/qt6/bin/pixeltool"), {},
            variable(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland")));
        QVERIFY(m_foot && m_mousepad && m_qt);
        QTRY_VERIFY_WITH_TIMEOUT(windowOf(*m_shell, m_foot) && windowOf(*m_shell, m_mousepad) &&
                                     windowOf(*m_shell, m_qt),
                                 appTimeoutMs);
    }

    void cleanupTestCase() {
        m_shell.reset();
        m_session.reset();
    }

    void windowsCarryTheShellsApplicationIds() {
        QVERIFY(m_log.lines.isEmpty());
        const struct {
            qint64 processIdentifier;
            QString desktopFileId;
            QString windowClass;
        } expected[] = {
            {m_foot, QStringLiteral("foot"), QStringLiteral("foot")},
            {m_mousepad, QStringLiteral("org.xfce.mousepad"), QStringLiteral("mousepad")},
            // No desktop entry names it: the shell says "window:N", the app_id stays.
            {m_qt, QString(), QStringLiteral("pixeltool")},
        };
        for (const auto &app : expected) {
            const Window *window = windowOf(*m_shell, app.processIdentifier);
            QCOMPARE(window->desktopFileId(), app.desktopFileId);
            QCOMPARE(window->windowClass, app.windowClass);
            QVERIFY(window->isWayland);
            QVERIFY(!window->isSkipTaskbar);
            QVERIFY(!window->title.isEmpty());
            QCOMPARE(std::count_if(m_shell->windows().begin(), m_shell->windows().end(),
                                   [&](const Window &w) { return w.id == window->id; }),
                     1);
        }
        QCOMPARE(windowOf(*m_shell, m_qt)->shellAppId,
                 QStringLiteral("window:%1").arg(windowOf(*m_shell, m_qt)->id));
    }

    void malformedCallsAreRefusedWithoutHarm() {
        const std::vector<Window> before = m_shell->windows();
        const quint64 unknown = 0xfffffffffffULL;
        const struct {
            QString method;
            QVariantList arguments;
            QString error;
        } calls[] = {
            {QStringLiteral("Close"),
             {QVariant::fromValue(qulonglong(unknown))},
             QStringLiteral("app.quellory.Quellory.Shell.Error.UnknownWindow")},
            {QStringLiteral("Activate"),
             {QVariant::fromValue(qulonglong(unknown))},
             QStringLiteral("app.quellory.Quellory.Shell.Error.UnknownWindow")},
            {QStringLiteral("Close"),
             {QStringLiteral("1")},
             QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs")},
            {QStringLiteral("Close"), {}, QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs")},
            {QStringLiteral("Activate"),
             {QVariant::fromValue(qulonglong(before.front().id)), 2},
             QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs")},
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
        QCOMPARE(m_shell->windows(), before);
        QVERIFY(ProcessFacts::isRunning(qint32(m_foot)));
    }

    void closeEndsFootAndMousepadAsksFirst() {
        QVERIFY(m_shell->close(windowOf(*m_shell, m_foot)->id));
        QTRY_VERIFY_WITH_TIMEOUT(!ProcessFacts::isRunning(qint32(m_foot)), appTimeoutMs);
        QTRY_VERIFY(!windowOf(*m_shell, m_foot));

        QVERIFY(m_shell->close(windowOf(*m_shell, m_mousepad)->id));
        // Its prompt about the unsaved text comes up, and it keeps running.
        QTRY_VERIFY_WITH_TIMEOUT(std::any_of(m_shell->windows().begin(), m_shell->windows().end(),
                                             [this](const Window &w) {
                                                 return w.processIdentifier == m_mousepad &&
                                                        w.type != QLatin1String("normal");
                                             }),
                                 appTimeoutMs);
        QVERIFY(ProcessFacts::isRunning(qint32(m_mousepad)));
        QVERIFY(windowOf(*m_shell, m_mousepad));
    }

    void shellGoneEmptiesTheListInOneLine() {
        QVERIFY(!m_shell->windows().empty());
        QVERIFY(m_session->stopShell());
        QTRY_VERIFY(m_shell->windows().empty());
        QCOMPARE(m_log.lines.size(), 1);
        QVERIFY2(m_log.lines.front().contains(QLatin1String("window list went away")),
                 qPrintable(m_log.lines.front()));
        QVERIFY(!m_shell->close(1));
        m_shell->activate(1);
        QTest::qWait(100);
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
        QVERIFY(shell.windows().empty());
    }

private:
    // Mousepad with a document whose text has changed since it was opened: its own edit action,
    // over the session bus, stands in for typing.
    qint64 startMousepadWithText() {
        const QString path =
            m_session->environment().value(QStringLiteral("HOME")) + QStringLiteral("/notes.txt");
        QFile notes(path);
        if (!notes.open(QIODevice::WriteOnly) || notes.write("a line\n") < 0)
            return 0;
        notes.close();
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

    RecordingLog m_log;
    std::unique_ptr<GnomeShellSession> m_session;
    std::unique_ptr<GnomeShellWindows> m_shell;
    qint64 m_foot = 0;
    qint64 m_mousepad = 0;
    qint64 m_qt = 0;
};

QTEST_GUILESS_MAIN(GnomeShellWindowsTest)
#include "tst_gnomeshellwindows.moc"
