#include "session/XSession.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int programStartMs = 20000;
// The client bounds each of its own waits; this only stops the test from hanging on it.
constexpr int clientMs = 60000;

QStringList names(const QJsonArray &rows) {
    QStringList found;
    for (const QJsonValue &row : rows)
        found << row[QStringLiteral("name")].toString();
    return found;
}

// What a screen reader reads of the main window: the toolbar and the list's rows in order.
struct Window {
    QJsonObject read;

    QJsonObject control(const QString &which) const { return read[which].toObject(); }
    QJsonArray rows() const { return read[QStringLiteral("rows")].toArray(); }
    QStringList headings() const {
        QStringList found;
        for (const QJsonValue &row : rows())
            if (row[QStringLiteral("role")] == QStringLiteral("heading"))
                found << row[QStringLiteral("name")].toString();
        return found;
    }
    // The items that follow the heading, up to the next one.
    QJsonArray section(const QString &heading) const {
        QJsonArray items;
        bool isInside = false;
        for (const QJsonValue &row : rows()) {
            if (row[QStringLiteral("role")] == QStringLiteral("heading"))
                isInside = row[QStringLiteral("name")] == heading;
            else if (isInside)
                items.append(row);
        }
        return items;
    }
    QJsonObject item(const QString &heading, const QString &name) const {
        for (const QJsonValue &row : section(heading))
            if (row[QStringLiteral("name")] == name)
                return row.toObject();
        return {};
    }
};

QJsonObject control(const QString &role, const QString &name, bool isChecked, bool isEnabled,
                    const QStringList &actions) {
    return {{"role", role},
            {"name", name},
            {"checked", isChecked},
            {"enabled", isEnabled},
            {"actions", QJsonArray::fromStringList(actions)}};
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

    QString applicationsFolder() const {
        return m_root.filePath(QStringLiteral("data/applications"));
    }
    bool hasAccessibilityBus() {
        return m_session
            ->run(QStringLiteral("gdbus"),
                  {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                   QStringLiteral("org.freedesktop.DBus"), QStringLiteral("--object-path"),
                   QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("--method"),
                   QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                   QStringLiteral("org.a11y.Bus")})
            .contains("true");
    }
    // The client's JSON lines.
    QList<QJsonObject> ask(const QStringList &arguments) {
        QProcess client;
        client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        client.setStandardInputFile(QProcess::nullDevice());
        client.start(QStringLiteral("/usr/bin/python3"),
                     QStringList{qEnvironmentVariable("QUELLORY_SOURCE_DIR") +
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
    // Opens the tray menu with a click and presses the keys; the items the focus reached.
    QStringList walkTrayMenu(QPoint icon, const QStringList &keys) {
        const QList<QJsonObject> lines =
            ask(QStringList{QStringLiteral("menu"), QString::number(icon.x()),
                            QString::number(icon.y())} +
                keys);
        QStringList reached;
        for (const QJsonValue &name :
             lines.isEmpty() ? QJsonArray() : lines.front()["reached"].toArray())
            reached << name.toString();
        return reached;
    }
    // Where the panel shows the program's tray icon, or a null point.
    QPoint trayIcon() {
        const QByteArray tree = m_session->run(QStringLiteral("xwininfo"),
                                               {QStringLiteral("-root"), QStringLiteral("-tree")});
        for (const QByteArray &line : tree.split('\n')) {
            if (!line.contains("(\"quellory\" \"Quellory\")") || !line.contains(" 22x22"))
                continue;
            const QList<QByteArray> origin = line.mid(line.lastIndexOf(' ') + 2).split('+');
            if (origin.size() == 2)
                return {origin[0].toInt() + 11, origin[1].toInt() + 11};
        }
        return {};
    }
    // The main window is among the windows the window manager manages (a hidden one is not).
    bool isWindowShown() {
        const QList<QByteArray> windows =
            m_session->run(QStringLiteral("wmctrl"), {QStringLiteral("-l")}).split('\n');
        return std::any_of(windows.begin(), windows.end(),
                           [](const QByteArray &line) { return line.endsWith(" Quellory"); });
    }
    Window describe() {
        const QList<QJsonObject> lines = ask({QStringLiteral("describe")});
        return {lines.isEmpty() ? QJsonObject() : lines.front()};
    }
    // Runs a control's action; the lines that tell what happened after it.
    QList<QJsonObject> act(const QString &item, const QString &control, const QString &until) {
        return ask({QStringLiteral("act"), item, control, until});
    }

private slots:
    void initTestCase() {
        m_session = std::make_unique<XSession>();
        QVERIFY2(m_session->isReady(), "Xvfb and openbox start");
        QVERIFY(m_session->start(QStringLiteral("/usr/libexec/at-spi-bus-launcher"),
                                 {QStringLiteral("--launch-immediately")}));
        QTRY_VERIFY2_WITH_TIMEOUT(hasAccessibilityBus(), "the accessibility bus is up",
                                  programStartMs);

        QVERIFY(m_root.isValid());
        QVERIFY(QDir().mkpath(applicationsFolder()));
        QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("system"))));
        QVERIFY(QFile::copy(QStringLiteral("/usr/share/applications/debian-xterm.desktop"),
                            applicationsFolder() + "/debian-xterm.desktop"));
        QFile eyes(applicationsFolder() + "/xeyes.desktop");
        QVERIFY(eyes.open(QIODevice::WriteOnly));
        eyes.write("[Desktop Entry]\nType=Application\nName=Eyes\nExec=xeyes\n");
        eyes.close();

        // A tray host, as a desktop's panel is.
        QVERIFY(m_session->start(QStringLiteral("tint2")));
        m_xterm = m_session->start(QStringLiteral("xterm"));
        QVERIFY(m_xterm > 0);
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("XDG_DATA_HOME"),
                           m_root.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_DATA_DIRS"),
                           m_root.filePath(QStringLiteral("system")));
        m_program = m_session->start(qEnvironmentVariable("QUELLORY_PROGRAM"), {}, environment);
        QVERIFY(m_program > 0);
    }

    void toolbarAndListReadAsControlsHeadingsAndItems() {
        Window window;
        QTRY_VERIFY_WITH_TIMEOUT(
            (window = describe(), names(window.section("Running")).contains("XTerm")),
            programStartMs);
        QCOMPARE(window.read["app"], "Quellory");
        QCOMPARE(window.control("search")["role"], "text");
        QCOMPARE(window.control("search")["name"], "Search apps");
        QCOMPARE(window.control("settings")["role"], "push button");
        QCOMPARE(window.control("settings")["name"], "Settings");

        QCOMPARE(window.headings(), (QStringList{"Running", "Not Running"}));
        // The program does not list itself.
        QCOMPARE(names(window.section("Running")), QStringList{"XTerm"});
        QCOMPARE(names(window.section("Not Running")), QStringList{"Eyes"});
        const QJsonObject xterm = window.item("Running", "XTerm");
        QCOMPARE(xterm["role"], "list item");
        QCOMPARE(xterm["checked"], false);
        QCOMPARE(xterm["checkbox"], control("check box", "XTerm", false, true, {"Toggle"}));
        QCOMPARE(xterm["button"], control("push button", "Quit XTerm", false, true, {"Press"}));
        QCOMPARE(window.item("Not Running", "Eyes")["button"],
                 control("push button", "Open Eyes", false, true, {"Press"}));
    }

    void ticksXTermThenQuitsItFromItsRow() {
        QTRY_VERIFY_WITH_TIMEOUT(!describe().item("Running", "XTerm").isEmpty(), programStartMs);

        QList<QJsonObject> said = act("XTerm", "XTerm", "object:state-changed:checked");
        QVERIFY(!said.isEmpty());
        QCOMPARE(said.front()["action"], "Toggle");
        QCOMPARE(said.front()["done"], true);
        const QJsonObject ticked{{"event", "object:state-changed:checked"},
                                 {"source", QJsonObject{{"role", "check box"}, {"name", "XTerm"}}},
                                 {"detail1", 1}};
        QVERIFY2(said.contains(ticked), "the checkbox says it is checked now");
        const QJsonObject selected = describe().item("Running", "XTerm");
        QCOMPARE(selected["checked"], true);
        QCOMPARE(selected["checkbox"], control("check box", "XTerm", true, true, {"Toggle"}));

        said = act("XTerm", "Quit XTerm", "object:children-changed:remove");
        QVERIFY(!said.isEmpty());
        QCOMPARE(said.front()["action"], "Press");
        QCOMPARE(said.front()["done"], true);
        QCOMPARE(said.back()["seen"], true);
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(m_xterm), programStartMs);

        // XTerm leaves "Running" and, as it is installed, can be opened again once the quit is
        // no longer under way.
        Window window;
        QTRY_VERIFY_WITH_TIMEOUT(
            (window = describe(), window.item("Not Running", "XTerm")["button"] ==
                                      control("push button", "Open XTerm", false, true, {"Press"})),
            programStartMs);
        QCOMPARE(window.headings(), QStringList{"Not Running"});
        QCOMPARE(names(window.section("Not Running")), (QStringList{"XTerm", "Eyes"}));
        QCOMPARE(window.item("Not Running", "XTerm")["checked"], false);
    }

    void trayMenuListsRunningProgramsByNameAndQuitsThem() {
        const qint64 xterm = m_session->start(QStringLiteral("xterm"));
        const qint64 eyes = m_session->start(QStringLiteral("xeyes"));
        QTRY_VERIFY_WITH_TIMEOUT(
            names(describe().section("Running")) == (QStringList{"Eyes", "XTerm"}), programStartMs);
        QPoint icon;
        QTRY_VERIFY2_WITH_TIMEOUT(!(icon = trayIcon()).isNull(),
                                  "tint2 holds the program's tray icon", programStartMs);
        // The keyboard walks the menu as a screen reader user does; the focus reads each item.
        QCOMPARE(walkTrayMenu(icon, {"Down", "Down", "Down", "Down", "Down", "Down", "Escape"}),
                 (QStringList{"Quellory", "Running Apps", "Quit Eyes", "Quit XTerm",
                              "Open Quellory", "Quit"}));
        QCOMPARE(walkTrayMenu(icon, {"Down", "Down", "Down", "Return"}),
                 (QStringList{"Quellory", "Running Apps", "Quit Eyes"}));
        QTRY_VERIFY_WITH_TIMEOUT(!XSession::isRunning(eyes), programStartMs);
        QVERIFY(XSession::isRunning(xterm));
    }

    void closedWindowLivesInTheTrayAndComesBackOnASecondStart() {
        m_session->run(QStringLiteral("wmctrl"),
                       {QStringLiteral("-c"), QStringLiteral("Quellory")});
        QTRY_VERIFY_WITH_TIMEOUT(!isWindowShown(), programStartMs);
        QTest::qWait(500);
        QVERIFY(XSession::isRunning(m_program));

        QProcess second;
        second.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        second.setStandardOutputFile(QProcess::nullDevice());
        second.start(qEnvironmentVariable("QUELLORY_PROGRAM"), {});
        QVERIFY(second.waitForFinished(programStartMs));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(isWindowShown(), programStartMs);
        QVERIFY(XSession::isRunning(m_program));
    }

    void cleanupTestCase() {
        // The program and everything else in the session end with its X server.
        m_session.reset();
        QTRY_VERIFY(!XSession::isRunning(m_program));
    }
};

QTEST_GUILESS_MAIN(MainWindowAccessibilityTest)
#include "tst_mainwindowaccessibility.moc"
