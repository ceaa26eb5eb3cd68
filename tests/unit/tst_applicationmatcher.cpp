#include "fakes/WriteFile.h"
#include "platform/linux/session/ApplicationMatcher.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using Rule = ApplicationMatcher::Rule;
Q_DECLARE_METATYPE(Rule)
Q_DECLARE_METATYPE(ClientWindow)
Q_DECLARE_METATYPE(ProcessFacts)

namespace {

ClientWindow window(const QString &instance, const QString &className,
                    const QString &gtkApplicationId = {}) {
    ClientWindow w;
    w.instanceName = instance;
    w.className = className;
    w.gtkApplicationId = gtkApplicationId;
    return w;
}

// A Wayland toplevel: its app_id is its class and the id it states.
ClientWindow toplevel(const QString &appId) {
    ClientWindow w = window({}, appId);
    w.appId = appId;
    return w;
}

} // namespace

// Which desktop entry a process's windows lead to, over a user and a system folder of entries.
class ApplicationMatcherTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    QString folder(const QString &name) const { return m_root.filePath(name); }
    void write(const QString &folderName, const QString &file, const QByteArray &contents) {
        QVERIFY(writeFile(folder(folderName) + '/' + file,
                          "[Desktop Entry]\nType=Application\n" + contents));
    }
    DesktopEntryIndex index() const {
        DesktopEntryIndex entries({{folder("user"), false}, {folder("system"), true}});
        entries.refreshIfChanged();
        return entries;
    }

    // Qt 5's tools beside Qt 6's of the same names, a link, a wrapper script and a launcher.
    void writePrograms() {
        const QString root = QFileInfo(m_root.path()).canonicalFilePath();
        for (const char *name : {"qt5/designer", "qt5/linguist", "qt6/designer", "qt6/linguist",
                                 "qt6/assistant", "bin/launcher"})
            QVERIFY(writeFile(root + '/' + name, "\x7f"
                                                 "ELF"));
        QVERIFY(writeFile(root + "/bin/assistant",
                          "#!/bin/sh\nexec " + root.toUtf8() + "/qt6/assistant \"$@\"\n"));
        QVERIFY(QFile::link(root + "/qt5/linguist", root + "/bin/linguist"));
        const auto entry = [&root](const char *name, const char *program, const char *wmClass) {
            return QStringLiteral("Name=%1\nExec=%2/%3 %F\nStartupWMClass=%4\n")
                .arg(name, root, program, wmClass)
                .toUtf8();
        };
        write("system", "designer-qt5.desktop", entry("Designer 5", "qt5/designer", "designer"));
        write("system", "linguist-qt5.desktop", entry("Linguist 5", "bin/linguist", "linguist"));
        write("system", "assistant.desktop", entry("Assistant", "bin/assistant", "assistant"));
        write("system", "tool.desktop", entry("Tool", "bin/launcher --run", "Tool"));
        write("system", "idle.desktop", entry("IDLE", "bin/idle", "NoSuchClass"));
    }

private slots:
    void initTestCase() {
        write("system", "org.example.Term.desktop",
              "Name=Terminal\nExec=term\nStartupWMClass=Term\n");
        write("system", "org.example.Editor.desktop", "Name=Editor\nExec=/usr/bin/editor %F\n");
        write("system", "google-chrome.desktop", "Name=Chrome\nExec=chrome\n");
        write("system", "player.desktop", "Name=Player\nExec=player\n");
        write("system", "org.gimp.GIMP.desktop", "Name=GIMP\nExec=gimp\n");
        write("system", "viewer.desktop", "Name=Viewer\nExec=\"/opt/my viewer/viewer\" --new\n");
        // The user's hidden copy still names the application and claims its class.
        write("user", "org.example.Term.desktop",
              "Name=My Terminal\nExec=term\nStartupWMClass=Term\nHidden=true\n");
        write("user", "tools/calc.desktop", "Name=Calculator\nExec=calc\n");
        writePrograms();
    }

    void usesTheStrongestEvidence_data() {
        QTest::addColumn<QList<ClientWindow>>("windows");
        QTest::addColumn<ProcessFacts>("facts");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("name");
        QTest::addColumn<Rule>("rule");
        const auto row = [](const char *title, const QList<ClientWindow> &windows,
                            const ProcessFacts &facts, const char *id, const char *name,
                            Rule rule) {
            QTest::newRow(title) << windows << facts << id << name << rule;
        };
        const ProcessFacts none;
        ProcessFacts inSandbox, inUnit, launched, runsViewer;
        inSandbox.sandboxId = "org.gimp.GIMP";
        inUnit.unitId = "player";
        launched.launchedDesktopFile = m_root.filePath("user/tools/calc.desktop");
        runsViewer.program = "viewer";
        const ClientWindow editor = window("editor", "Editor", "org.example.Editor");
        const ClientWindow player = window("player", "Player");
        row("StartupWMClass before the stated id", {window("term", "Term", "org.example.Editor")},
            none, "org.example.Term", "My Terminal", Rule::startupWMClass);
        row("GTK application id", {editor}, none, "org.example.Editor", "Editor", Rule::statedId);
        row("another window of the process states it", {window("splash", "Splash"), editor}, none,
            "org.example.Editor", "Editor", Rule::statedId);
        row("sandbox id before the window class", {player}, inSandbox, "org.gimp.GIMP", "GIMP",
            Rule::sandboxId);
        row("class as an ID, exactly", {player}, none, "player", "Player", Rule::wmClassAsId);
        row("class as an ID, lower-cased with dashes", {window("Google Chrome", "Google Chrome")},
            none, "google-chrome", "Chrome", Rule::wmClassAsId);
        row("the desktop's unit", {window("mplayer", "MPlayer")}, inUnit, "player", "Player",
            Rule::launchRecord);
        row("GIO's launch record of an entry in a subfolder", {window("xcalc", "XCalc")}, launched,
            "tools-calc", "Calculator", Rule::launchRecord);
        row("the Exec program, quoted with a blank", {window("v", "V")}, runsViewer, "viewer",
            "Viewer", Rule::commandLine);
        row("nothing: the window's class", {window("xlogo", "XLogo")}, none, "XLogo", "XLogo",
            Rule::windowClass);
        row("app_id as StartupWMClass", {toplevel("Term")}, none, "org.example.Term", "My Terminal",
            Rule::startupWMClass);
        row("app_id as the stated id", {toplevel("org.example.Editor")}, none, "org.example.Editor",
            "Editor", Rule::statedId);
        row("app_id, the last part of an entry's reverse-DNS id", {toplevel("GIMP")}, none,
            "org.gimp.GIMP", "GIMP", Rule::wmClassAsId);
        row("app_id, a reverse-DNS name whose last part is an id", {toplevel("org.kde.player")},
            none, "player", "Player", Rule::wmClassAsId);
        row("app_id of no entry names it", {toplevel("org.example.Unknown")}, none,
            "org.example.Unknown", "org.example.Unknown", Rule::windowClass);

        const QString root = QFileInfo(m_root.path()).canonicalFilePath();
        const auto running = [&root](const char *commandLine, const char *executable) {
            ProcessFacts facts;
            facts.program = ProcessFacts::programOf(QByteArray(commandLine).replace(' ', '\0'));
            facts.executable = root + '/' + executable;
            return facts;
        };
        row("Qt 6's tool is not Qt 5's of the same name and class",
            {window("designer", "designer")}, running("/usr/bin/designer", "qt6/designer"),
            "designer", "designer", Rule::windowClass);
        row("Qt 5's tool, through a link in Exec", {window("linguist", "linguist")},
            running("linguist", "qt5/linguist"), "linguist-qt5", "Linguist 5",
            Rule::startupWMClass);
        row("Qt 6's tool, through a link in Exec to Qt 5's", {window("linguist", "linguist")},
            running("linguist", "qt6/linguist"), "linguist", "linguist", Rule::windowClass);
        row("a wrapper script may start a program of its name anywhere",
            {window("assistant", "assistant")}, running("assistant", "qt6/assistant"), "assistant",
            "Assistant", Rule::startupWMClass);
        row("a launcher may start a program of any name", {window("tool", "Tool")},
            running("tool", "qt6/tool"), "tool", "Tool", Rule::startupWMClass);
        row("the script that an interpreter runs", {window("Toplevel", "Tk")},
            running("/usr/bin/python3 bin/idle -n", "bin/idle"), "idle", "IDLE", Rule::commandLine);
    }
    void usesTheStrongestEvidence() {
        QFETCH(QList<ClientWindow>, windows);
        QFETCH(ProcessFacts, facts);
        QFETCH(Rule, rule);
        const auto match =
            ApplicationMatcher(index()).match(std::vector(windows.begin(), windows.end()), facts);
        QTEST(match.bundleIdentifier, "id");
        QTEST(match.name, "name");
        QCOMPARE(match.rule, rule);
        QCOMPARE(match.path.has_value(), rule != Rule::windowClass);
    }

    void aWindowWithoutClassIsNamedAfterItsProgram() {
        ProcessFacts facts;
        facts.program = "oddity";
        const auto match = ApplicationMatcher(index()).match(std::vector{window({}, {})}, facts);
        QCOMPARE(match.bundleIdentifier, "oddity");
        QCOMPARE(match.path, std::nullopt);
    }

    void indexFollowsNewEntries() {
        DesktopEntryIndex entries = index();
        QVERIFY(!entries.byId("newcomer"));
        // Folder times have a coarse grain on some file systems.
        QTest::qWait(20);
        write("user", "newcomer.desktop", "Name=Newcomer\nExec=newcomer\n");
        entries.refreshIfChanged();
        QVERIFY(entries.byId("newcomer"));
        QCOMPARE(entries.byProgram("newcomer")->name, "Newcomer");
        QVERIFY(QFile::remove(folder("user") + "/newcomer.desktop"));
    }

    void skipsWhatIsNoEntry() {
        write("user", "broken.desktop", "Name=Broken\n[unterminated group\n");
        QVERIFY(
            QFile::link(folder("system") + "/player.desktop", folder("user") + "/loop.desktop"));
        QVERIFY(writeFile(folder("user") + "/huge.desktop",
                          QByteArray("[Desktop Entry]\nName=Huge\n") + QByteArray(2 << 20, '#')));
        const DesktopEntryIndex entries = index();
        QVERIFY(!entries.byId("broken"));
        QVERIFY(!entries.byId("huge"));
        QCOMPARE(entries.byId("loop")->name, "Player");
    }
};

QTEST_GUILESS_MAIN(ApplicationMatcherTest)
#include "tst_applicationmatcher.moc"
