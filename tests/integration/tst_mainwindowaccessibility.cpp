#include "fakes/WriteFile.h"
#include "session/XSession.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int programStartMs = 20000;
// The client bounds each of its own waits; this only stops the test from hanging on it.
constexpr int clientMs = 60000;

// What a screen reader reads of the main window: the toolbar and the list's rows in order.
struct Window {
    QJsonObject read;

    QJsonValue control(const QString &which, const QString &key) const { return read[which][key]; }
    // The rows by name, headings marked with "#".
    QStringList rows() const {
        QStringList found;
        for (const QJsonValue &row : read["rows"].toArray())
            found << (row["role"] == "heading" ? "# " : "") + row["name"].toString();
        return found;
    }
    QJsonObject item(const QString &name) const {
        for (const QJsonValue &row : read["rows"].toArray())
            if (row["name"] == name && row["role"] != "heading")
                return row.toObject();
        return {};
    }
};

// An enabled control as the client reports it.
QJsonObject control(const QString &role, const QString &name, bool isChecked,
                    const QString &action) {
    return {{"role", role},
            {"name", name},
            {"checked", isChecked},
            {"enabled", true},
            {"actions", QJsonArray{action}}};
}

} // namespace

// The real program on a real X server, read and driven over AT-SPI by a screen reader's means: a
// Python client of Debian's pyatspi. XTerm runs and Eyes is installed, from a private XDG tree.
class MainWindowAccessibilityTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    std::unique_ptr<XSession> m_session;
    qint64 m_xterm = 0;
    qint64 m_program = 0;
    QProcessEnvironment m_environment;

    // Starts the program afresh; whether it came up and lists XTerm.
    bool startProgram() {
        m_program = m_session->start(qEnvironmentVariable("QUELLORY_PROGRAM"), {}, m_environment);
        return m_program > 0 &&
               QTest::qWaitFor([this] { return describe().rows().contains("XTerm"); },
                               programStartMs);
    }
    // A second start hands over to the running program and leaves at once.
    static bool startsASecondTime() {
        QProcess second;
        second.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        second.setStandardOutputFile(QProcess::nullDevice());
        second.start(qEnvironmentVariable("QUELLORY_PROGRAM"), {});
        return second.waitForFinished(programStartMs) &&
               second.exitStatus() == QProcess::NormalExit && second.exitCode() == 0;
    }
    // Ctrl+Q in the main window.
    void pressQuit() {
        m_session->run("wmctrl", {"-a", "Quellory"});
        m_session->run("xdotool", {"key", "ctrl+q"});
    }
    static QSettings settingsFile() {
        return {qEnvironmentVariable("XDG_CONFIG_HOME") + "/app.quellory.Quellory/Quellory.conf",
                QSettings::IniFormat};
    }
    static QJsonObject launchCounts() {
        return QJsonDocument::fromJson(settingsFile().value("appUsage.launchCounts").toByteArray())
            .object();
    }

    // The client's JSON lines.
    QList<QJsonObject> ask(const QStringList &arguments) {
        QProcess client;
        client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        client.setStandardInputFile(QProcess::nullDevice());
        client.start("/usr/bin/python3", QStringList{qEnvironmentVariable("QUELLORY_SOURCE_DIR") +
                                                         "/tests/integration/atspi_client.py",
                                                     QString::number(m_program)} +
                                             arguments);
        QList<QJsonObject> lines;
        if (!client.waitForFinished(clientMs))
            return lines;
        for (const QByteArray &line : client.readAllStandardOutput().split('\n'))
            if (!line.isEmpty())
                lines << QJsonDocument::fromJson(line).object();
        return lines;
    }
    Window describe() {
        const QList<QJsonObject> lines = ask({"describe"});
        return {lines.value(0)};
    }
    // Opens the tray menu with a click and presses the keys; the items the focus reached.
    QStringList walkTrayMenu(QPoint icon, const QStringList &keys) {
        QStringList reached;
        const QList<QJsonObject> lines =
            ask(QStringList{"menu", QString::number(icon.x()), QString::number(icon.y())} + keys);
        for (const QJsonValue &name : lines.value(0)["reached"].toArray())
            reached << name.toString();
        return reached;
    }
    // Where the panel shows the program's tray icon, or a null point.
    QPoint trayIcon() {
        for (const QByteArray &line : m_session->run("xwininfo", {"-root", "-tree"}).split('\n')) {
            if (!line.contains("(\"quellory\" \"Quellory\")") || !line.contains(" 22x22"))
                continue;
            const QList<QByteArray> origin = line.mid(line.lastIndexOf(' ') + 2).split('+');
            if (origin.size() == 2)
                return {origin[0].toInt() + 11, origin[1].toInt() + 11};
        }
        return {};
    }
    // The main window is among the windows the window manager manages (a hidden one is not).
    bool isWindowShown() { return !windowId().isEmpty(); }
    // The main window's id in the window manager's _NET_CLIENT_LIST, as wmctrl reads it.
    QByteArray windowId() {
        for (const QByteArray &line : m_session->run("wmctrl", {"-l"}).split('\n'))
            if (line.endsWith(" Quellory"))
                return line.left(line.indexOf(' '));
        return {};
    }
    // Managed and minimised: what the task bar shows as a window to bring back.
    bool isWindowMinimised() {
        const QByteArray id = windowId();
        return !id.isEmpty() && m_session->run("xprop", {"-id", id, "_NET_WM_STATE"})
                                    .contains("_NET_WM_STATE_HIDDEN");
    }

private slots:
    void initTestCase() {
        m_session = std::make_unique<XSession>();
        QVERIFY2(m_session->isReady(), "Xvfb and openbox start");
        QVERIFY(m_session->start("/usr/libexec/at-spi-bus-launcher", {"--launch-immediately"}));
        QTRY_VERIFY2_WITH_TIMEOUT(
            m_session
                ->run("gdbus", {"call", "--session", "--dest", "org.freedesktop.DBus",
                                "--object-path", "/org/freedesktop/DBus", "--method",
                                "org.freedesktop.DBus.NameHasOwner", "org.a11y.Bus"})
                .contains("true"),
            "the accessibility bus is up", programStartMs);

        QVERIFY(m_root.isValid());
        const QString applications = m_root.filePath("data/applications");
        QVERIFY(QDir().mkpath(applications) && QDir().mkpath(m_root.filePath("system")));
        QVERIFY(QFile::copy("/usr/share/applications/debian-xterm.desktop",
                            applications + "/debian-xterm.desktop"));
        QVERIFY(writeFile(applications + "/xeyes.desktop",
                          "[Desktop Entry]\nType=Application\nName=Eyes\nExec=xeyes\n"));

        m_xterm = m_session->start("xterm");
        QVERIFY(m_xterm > 0);
        m_environment.insert("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
        m_environment.insert("QT_QPA_PLATFORM", "xcb");
        m_environment.insert("XDG_DATA_HOME", m_root.filePath("data"));
        m_environment.insert("XDG_DATA_DIRS", m_root.filePath("system"));
        m_program = m_session->start(qEnvironmentVariable("QUELLORY_PROGRAM"), {}, m_environment);
        QVERIFY(m_program > 0);
    }

    void readsTheWindowTicksXTermThenQuitsItFromItsRow() {
        Window window;
        QTRY_VERIFY_WITH_TIMEOUT((window = describe(), window.rows().contains("XTerm")),
                                 programStartMs);
        QCOMPARE(window.read["app"], "Quellory");
        QCOMPARE(window.control("search", "role"), "text");
        QCOMPARE(window.control("search", "name"), "Search apps");
        QCOMPARE(window.control("settings", "role"), "push button");
        QCOMPARE(window.control("settings", "name"), "Settings");
        // The program does not list itself.
        QCOMPARE(window.rows(), (QStringList{"# Running", "XTerm", "# Not Running", "Eyes"}));
        const QJsonObject xterm = window.item("XTerm");
        QCOMPARE(xterm["role"], "list item");
        QCOMPARE(xterm["checked"], false);
        QCOMPARE(xterm["checkbox"], control("check box", "XTerm", false, "Toggle"));
        QCOMPARE(xterm["button"], control("push button", "Quit XTerm", false, "Press"));
        QCOMPARE(window.item("Eyes")["button"],
                 control("push button", "Open Eyes", false, "Press"));

        QList<QJsonObject> said = ask({"act", "XTerm", "XTerm", "object:state-changed:checked"});
        QVERIFY(!said.isEmpty());
        QCOMPARE(said.front()["action"], "Toggle");
        QCOMPARE(said.front()["done"], true);
        const QJsonObject ticked{{"event", "object:state-changed:checked"},
                                 {"source", QJsonObject{{"role", "check box"}, {"name", "XTerm"}}},
                                 {"detail1", 1}};
        QVERIFY2(said.contains(ticked), "the checkbox says it is checked now");
        QCOMPARE(describe().item("XTerm")["checkbox"],
                 control("check box", "XTerm", true, "Toggle"));

        said = ask({"act", "XTerm", "Quit XTerm", "object:children-changed:remove"});
        QVERIFY(!said.isEmpty());
        QCOMPARE(said.front()["action"], "Press");
        QCOMPARE(said.front()["done"], true);
        QCOMPARE(said.back()["seen"], true);
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(m_xterm), programStartMs);

        // XTerm leaves "Running" and, as it is installed, can be opened again once the quit is
        // no longer under way.
        QTRY_VERIFY_WITH_TIMEOUT(
            (window = describe(), window.item("XTerm")["button"] ==
                                      control("push button", "Open XTerm", false, "Press")),
            programStartMs);
        QCOMPARE(window.rows(), (QStringList{"# Not Running", "XTerm", "Eyes"}));
        QCOMPARE(window.item("XTerm")["checked"], false);
    }

    // The panel starts after the program, as it often does at login; the walk of its menu and
    // a quit from it come below.
    void trayIconComesWithALatePanel() {
        QVERIFY(m_session->start("xterm"));
        QTRY_VERIFY_WITH_TIMEOUT(describe().rows().mid(0, 2) == (QStringList{"# Running", "XTerm"}),
                                 programStartMs);
        QVERIFY(trayIcon().isNull());
        QVERIFY(m_session->start("tint2"));
        QTRY_VERIFY2_WITH_TIMEOUT(!trayIcon().isNull(), "tint2 holds the program's tray icon",
                                  programStartMs);
    }

    void closedWindowLivesInTheTrayAndComesBackOnASecondStart() {
        m_session->run("wmctrl", {"-c", "Quellory"});
        QTRY_VERIFY_WITH_TIMEOUT(!isWindowShown(), programStartMs);
        QTest::qWait(500);
        QVERIFY(XSession::isRunning(m_program));

        QVERIFY(startsASecondTime());
        QTRY_VERIFY_WITH_TIMEOUT(isWindowShown(), programStartMs);
        QVERIFY(XSession::isRunning(m_program));
    }

    // Quit ends the program whatever else is open, at every start; a start counts no launch of
    // what already runs (XTerm here), only of what starts after it.
    void quitEndsTheProgramAndAStartCountsOnlyLaterLaunches() {
        const QJsonObject counted = launchCounts();
        QVERIFY(counted.contains("debian-xterm"));
        for (int start = 0; start < 4; ++start) {
            if (start > 0)
                QVERIFY(startProgram());
            const qint64 program = m_program;
            if (start % 2 == 0) {
                QPoint icon;
                QTRY_VERIFY_WITH_TIMEOUT(!(icon = trayIcon()).isNull(), programStartMs);
                // The menu stays open on "Quit" while the client reads it; Return then picks it.
                QCOMPARE(walkTrayMenu(icon, {"Down", "Down", "Down", "Down", "Down"}),
                         (QStringList{"Quellory", "Running Apps", "Quit XTerm", "Open Quellory",
                                      "Quit"}));
                m_session->run("xdotool", {"key", "Return"});
            } else {
                pressQuit();
            }
            QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(program), programStartMs);
            QCOMPARE(launchCounts(), counted);
        }
        QVERIFY(startProgram());
        QVERIFY(m_session->start("xeyes"));
        QJsonObject once = counted;
        once["xeyes"] = counted["xeyes"].toInt() + 1;
        QTRY_COMPARE_WITH_TIMEOUT(launchCounts(), once, programStartMs);
    }

    // Without the tray icon a closed window goes down to the task bar, not out of sight: still a
    // client of the window manager, minimised, and a second start brings it back up.
    void closedWindowWithoutTrayIconStaysInTheTaskBar() {
        const qint64 withIcon = m_program;
        pressQuit();
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(withIcon), programStartMs);
        settingsFile().setValue("showMenuBarIcon", false);
        QVERIFY(startProgram());

        m_session->run("wmctrl", {"-c", "Quellory"});
        QTRY_VERIFY_WITH_TIMEOUT(isWindowMinimised(), programStartMs);
        QTest::qWait(500);
        QVERIFY(isWindowMinimised());
        QVERIFY(XSession::isRunning(m_program));

        QVERIFY(startsASecondTime());
        QTRY_VERIFY_WITH_TIMEOUT(isWindowShown() && !isWindowMinimised(), programStartMs);
    }

    void cleanupTestCase() {
        // The program and everything else in the session end with its X server.
        m_session.reset();
        QTRY_VERIFY(!XSession::isRunning(m_program));
    }
};

QTEST_GUILESS_MAIN(MainWindowAccessibilityTest)
#include "tst_mainwindowaccessibility.moc"
