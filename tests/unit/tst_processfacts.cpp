#include "fakes/WriteFile.h"
#include "platform/linux/session/ApplicationUnits.h"
#include "platform/linux/session/ProcessFacts.h"
#include "platform/linux/wayland/ToplevelProcesses.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// One process in a simulated /proc: its owner, its start time and its cgroup.
void addProcess(const QDir &proc, qint32 pid, uid_t user, int startTime, const QByteArray &unit) {
    const QString folder = proc.filePath(QString::number(pid)) + '/';
    const auto write = [&](const char *name, const QByteArray &text) {
        QVERIFY(writeFile(folder + name, text));
    };
    write("status", "Name:\tx\nUid:\t" + QByteArray::number(user) + "\t0\t0\t0\n");
    // The command name may hold blanks and parentheses.
    write("stat", QByteArray::number(pid) +
                      " (a (b) c) S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 " +
                      QByteArray::number(startTime) + " 20 21\n");
    write("cgroup", "0::/user.slice/user-1000.slice/user@1000.service/app.slice/" + unit + '\n');
}

} // namespace

class ProcessFactsTest : public QObject {
    Q_OBJECT

private slots:
    void readsTheDesktopsUnitNames_data() {
        QTest::addColumn<QByteArray>("cgroup");
        QTest::addColumn<QString>("id");
        const QByteArray slice = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
        const auto row = [&slice](const char *name, const QByteArray &unit, const char *id) {
            QTest::newRow(name) << slice + unit + '\n' << id;
        };
        row("scope with a launcher", "app-gnome-org.gnome.Terminal-4242.scope",
            "org.gnome.Terminal");
        row("scope without a launcher", "app-firefox-1234.scope", "firefox");
        row("service with an instance", "app-kde-org.kde.dolphin@a1b2.service", "org.kde.dolphin");
        row("escaped dashes in the id", "app-gnome-gnome\\x2dsystem\\x2dmonitor-77.scope",
            "gnome-system-monitor");
        row("not an application unit", "session-2.scope", "");
        QTest::newRow("nothing") << QByteArray() << QString();
    }
    void readsTheDesktopsUnitNames() {
        QFETCH(QByteArray, cgroup);
        QTEST(ProcessFacts::idOfCgroup(cgroup).value_or(QString()), "id");
    }

    void readsSandboxIds() {
        QCOMPARE(ProcessFacts::idOfFlatpakInfo("[Application]\nname=org.gimp.GIMP\nruntime=x\n"),
                 QString("org.gimp.GIMP"));
        QCOMPARE(ProcessFacts::idOfFlatpakInfo("[Instance]\nname=wrong\n"), std::nullopt);
        QCOMPARE(ProcessFacts::idOfFlatpakInfo("not a key file ["), std::nullopt);
        QCOMPARE(ProcessFacts::idOfSecurityLabel("snap.firefox.firefox (enforce)"),
                 QString("firefox_firefox"));
        QCOMPARE(ProcessFacts::idOfSecurityLabel("unconfined"), std::nullopt);
        QCOMPARE(ProcessFacts::idOfSecurityLabel("snap.broken (enforce)"), std::nullopt);
    }

    void believesALaunchRecordOnlyForTheLaunchedProcess() {
        const QByteArray environment =
            QByteArrayList{"HOME=/home/a",
                           "GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/xterm.desktop",
                           "GIO_LAUNCHED_DESKTOP_FILE_PID=4242", ""}
                .join('\0');
        QCOMPARE(ProcessFacts::launchedDesktopFileOf(environment, 4242),
                 QString("/usr/share/applications/xterm.desktop"));
        // The shell inside the terminal inherits the variables.
        QCOMPARE(ProcessFacts::launchedDesktopFileOf(environment, 4243), std::nullopt);
        QCOMPARE(ProcessFacts::launchedDesktopFileOf("PATH=/bin", 4242), std::nullopt);
    }

    void namesTheProgramOrTheScriptItsInterpreterRuns_data() {
        QTest::addColumn<QByteArrayList>("arguments");
        QTest::addColumn<QString>("program");
        const auto row = [](const char *line, const char *program) {
            QTest::newRow(line) << QByteArray(line).split(' ') << program;
        };
        row("/usr/bin/xterm -e sh", "xterm");
        row("mousepad", "mousepad");
        row("/usr/bin/python3 /usr/bin/idle -n", "idle");
        row("python3.11 -u -W ignore -X dev ./tool.py --flag", "tool.py");
        row("python3 -m idlelib", "idlelib");
        row("python3 -Wdefault::DeprecationWarning tool.py", "tool.py");
        row("/usr/lib/jvm/java-17/bin/java -Xmx1g -cp lib.jar -jar /opt/game/game.jar", "game.jar");
        row("java --add-opens m/p=ALL -classpath a.jar org.example.Main", "org.example.Main");
        row("perl -w -I lib /usr/bin/exiftool-gui", "exiftool-gui");
        row("/bin/sh -e -o pipefail ./run.sh a b", "run.sh");
        row("/usr/bin/env LANG=C -u DISPLAY python3 -- /usr/games/pysol", "pysol");
        // Code given inline or read from standard input: the interpreter itself runs.
        row("sh -c exec", "sh");
        row("bash -lc exec", "bash");
        row("perl -pe s/a/b/", "perl");
        row("python3 -", "python3");
        row("python3", "python3");
        row("env FOO=1", "env");
        // A program that merely shares a prefix with an interpreter.
        row("/usr/bin/shotwell /home/a/x.jpg", "shotwell");
    }
    void namesTheProgramOrTheScriptItsInterpreterRuns() {
        QFETCH(QByteArrayList, arguments);
        QTEST(ProcessFacts::programOf(arguments.join('\0') + '\0'), "program");
    }

    void resolvesTheFileTheProcessRuns() {
        // A process folder laid out as /proc lays it out: the kernel's links, the command line.
        QTemporaryDir root;
        QVERIFY(QDir(root.path()).mkpath("42") && QDir(root.path()).mkpath("work/bin"));
        const QString work = QFileInfo(root.filePath("work")).canonicalFilePath();
        QVERIFY(QFile::link(work + "/bin/interpreter", root.filePath("42/exe")));
        QVERIFY(QFile::link(work, root.filePath("42/cwd")));
        QVERIFY(QFile::link(work + "/bin/tool", work + "/tool-link"));
        const auto factsOf = [&root](const QByteArrayList &arguments) {
            if (!writeFile(root.filePath("42/cmdline"), arguments.join('\0') + '\0'))
                qFatal("cannot write the command line");
            return ProcessFacts::of(42, root.path());
        };
        for (const char *name : {"/bin/interpreter", "/bin/tool"})
            QVERIFY(writeFile(work + name, {}));

        ProcessFacts facts = factsOf({"python3", "tool-link"});
        QCOMPARE(facts.program, "tool-link");
        QCOMPARE(facts.executable, work + "/bin/tool");
        QCOMPARE(factsOf({"whatever", "-x"}).executable, work + "/bin/interpreter");
        // A script that is gone, or a process that cannot be read, is unknown.
        QCOMPARE(factsOf({"python3", "/nonexistent/tool"}).executable, QString());
        QCOMPARE(ProcessFacts::of(43, root.path()).program, QString());
    }

    void findsTheApplicationsInTheirOwnUnits() {
        QTemporaryDir proc;
        const QDir root(proc.path());
        const uid_t user = 1000;
        // The calculator started before its helper, which got the lower pid as pids wrapped.
        addProcess(root, 900, user, 500, "app-gnome-org.gnome.Calculator-800.scope");
        addProcess(root, 800, user, 700, "app-gnome-org.gnome.Calculator-800.scope");
        // Two instances of one application are two applications.
        addProcess(root, 1201, user, 10, "app-flatpak-org.gimp.GIMP-1201.scope");
        addProcess(root, 1301, user, 20, "app-flatpak-org.gimp.GIMP-1301.scope");
        addProcess(root, 1400, user, 30, "app-org.kde.dolphin@0f2a.service");
        addProcess(root, 1500, user, 40, "session-2.scope");
        // Started from the desktop's autostart, with no entry among the applications.
        addProcess(root, 1550, user, 45,
                   "app-gnome-org.gnome.Evolution\\x2dalarm\\x2dnotify-1550.scope");
        addProcess(root, 1600, 1001, 50, "app-gnome-org.gnome.Terminal-1600.scope");
        QVERIFY(root.mkdir(QStringLiteral("self")));
        QVERIFY(root.mkdir(QStringLiteral("1700"))); // gone while it was read

        const auto isApplication = [](const QString &id) {
            return id != QLatin1String("org.gnome.Evolution-alarm-notify");
        };
        ApplicationUnits units(isApplication, proc.path(), user);
        QSignalSpy changes(&units, &WindowSource::windowsChanged);
        units.refresh();
        const std::vector<std::pair<QString, qint32>> expected{
            {"org.gimp.GIMP", 1201},
            {"org.gimp.GIMP", 1301},
            {"org.gnome.Calculator", 900},
            {"org.kde.dolphin", 1400},
        };
        std::vector<std::pair<QString, qint32>> found;
        for (const ClientWindow &window : units.windows())
            found.emplace_back(window.appId, window.processIdentifier);
        QCOMPARE(found, expected);
        QCOMPARE(changes.size(), 1);
        // Its own quit action is the only way to ask it: no close request goes out.
        const ClientWindow &calculator = units.windows().at(2);
        QCOMPARE(calculator.gtkBusName, "org.gnome.Calculator");
        QCOMPARE(calculator.gtkObjectPath, "/org/gnome/Calculator");
        QVERIFY(!calculator.acceptsDelete);
        QVERIFY(!units.requestClose(calculator));
        units.refresh();
        QCOMPARE(changes.size(), 1);
        units.setEnabled(false);
        QVERIFY(units.windows().empty());
        QCOMPARE(changes.size(), 2);

        ApplicationUnits otherUser(isApplication, proc.path(), 4242);
        otherUser.refresh();
        QVERIFY(otherUser.windows().empty());
    }

    // Until its parent reaps it, an ended process keeps its folder in /proc.
    void aZombieIsNotRunning() {
        QVERIFY(ProcessFacts::isRunning(qint32(getpid())));
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        QTRY_VERIFY(!ProcessFacts::isRunning(child));
        QCOMPARE(waitpid(child, nullptr, 0), child);
    }

    // A Wayland toplevel names no process: sway's tree does, matched by app_id and title.
    void findsEachToplevelsProcessInSwaysTree() {
        const QByteArray tree = R"({"nodes": [{"nodes": [
            {"pid": 11, "app_id": "foot", "name": "~", "shell": "xdg_shell"},
            {"pid": 12, "app_id": "foot", "name": "make", "shell": "xdg_shell"},
            {"pid": 20, "app_id": null, "name": "xterm", "shell": "xwayland",
             "window_properties": {"class": "XTerm"}}]}],
            "floating_nodes": [{"pid": 11, "app_id": "foot", "name": "Save?",
                                "shell": "xdg_shell"}]})";
        const auto views = ToplevelProcesses::viewsOfSwayTree(tree);
        QCOMPARE(views.size(), size_t(4));
        const auto toplevel = [](const char *appId, const char *title) {
            ClientWindow window;
            window.appId = appId;
            window.title = title;
            return window;
        };
        // Same app_id, told apart by title; a title that changed since falls back to any
        // view of the app_id; Xwayland's window is marked so that only X11 closes it.
        const ClientWindow make = toplevel("foot", "make"), home = toplevel("foot", "~"),
                           renamed = toplevel("foot", "vim"), xterm = toplevel("XTerm", "xterm"),
                           unknown = toplevel("gedit", "x");
        const auto found =
            ToplevelProcesses::matchViews({&make, &home, &renamed, &xterm, &unknown}, views);
        QCOMPARE(found[0].processIdentifier, 12);
        QCOMPARE(found[1].processIdentifier, 11);
        QCOMPARE(found[2].processIdentifier, 11);
        QVERIFY(!found[1].isXwayland);
        QCOMPARE(found[3].processIdentifier, 20);
        QVERIFY(found[3].isXwayland);
        QCOMPARE(found[4].processIdentifier, 0);
        QVERIFY(ToplevelProcesses::viewsOfSwayTree("not json").empty());
    }
};

QTEST_GUILESS_MAIN(ProcessFactsTest)
#include "tst_processfacts.moc"
