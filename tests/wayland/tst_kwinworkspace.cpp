#include "platform/linux/wayland/PlasmaWindowSource.h"
#include "session/FakeKeyboard.h"
#include "session/KWinSession.h"
#include "WaylandWorkspaceChecks.h"

// The workspace of a Wayland session on a real headless KWin with its Xwayland: native clients
// through Plasma's window management, which KWin grants this program through a real desktop
// entry.
class KWinWorkspaceTest : public QObject, WaylandWorkspaceChecks {
    Q_OBJECT

    std::unique_ptr<KWinSession> m_kwin;
    std::unique_ptr<FakeKeyboard> m_keyboard;

    HeadlessCompositor &session() override { return *m_kwin; }
    const QElapsedTimer &sinceAToplevelLeft() const override {
        return compositorSource<PlasmaWindowSource>()->sinceLastUnmapped();
    }
    void type(const QString &text) override { m_keyboard->type(text); }

private slots:
    void initTestCase() {
        QVERIFY(makeEntries({"debian-xterm", "org.xfce.mousepad", "org.gnome.Calculator"}) &&
                writeOpenedEntry());
        // KWin's window list and fake keyboard go to this program, named by its absolute path.
        writeEntry(
            "quellory-tests",
            "Name=Quellory's tests\nExec=" + QCoreApplication::applicationFilePath().toUtf8() +
                "\nX-KDE-Wayland-Interfaces=org_kde_plasma_window_management,"
                "org_kde_kwin_fake_input\n");
        m_kwin = std::make_unique<KWinSession>();
        QVERIFY2(m_kwin->isReady(), "KWin and its Xwayland start");
        openWorkspace();
        QVERIFY2(compositorSource<PlasmaWindowSource>(),
                 "KWin grants its window list through the desktop entry");
        QVERIFY(m_log.lines.isEmpty());
    }
    void init() { m_log.lines.clear(); }

    void identifiesEachClientOnce_data() {
        identityColumns();
        QTest::newRow("gnome-calculator on GTK 4's Wayland backend, its app_id stating its entry")
            << QStringList{"gnome-calculator"} << "GDK_BACKEND=wayland"
            << "org.gnome.Calculator"
            << "Calculator" << Rule::statedId;
        QTest::newRow("mousepad on GTK 3's Wayland backend, by the last part of its entry's id")
            << QStringList{"mousepad"} << "GDK_BACKEND=wayland"
            << "org.xfce.mousepad"
            << "Mousepad" << Rule::wmClassAsId;
        qtAndXtermRows();
    }
    void identifiesEachClientOnce() { WaylandWorkspaceChecks::identifiesEachClientOnce(); }
    void quitClosesCalculatorAndAsksMousepad() {
        m_keyboard = std::make_unique<FakeKeyboard>();
        QVERIFY2(m_keyboard->isReady(), "KWin grants its fake keyboard through the desktop entry");
        quitClosesOneAndAsksMousepad("org.gnome.Calculator");
        m_keyboard.reset();
        // KWin names the window that the dialog serves.
        const auto mousepad = applicationsWithId("org.xfce.mousepad").value(0);
        QVERIFY(mousepad &&
                mousepad->windows().back().transientFor == mousepad->windows().front().id);
    }
    void neverClosesAnXwaylandWindowThatCannotBeAsked() {
        WaylandWorkspaceChecks::neverClosesAnXwaylandWindowThatCannotBeAsked();
    }
    void aToplevelClosedByItsProgramLeavesAtOnce() {
        WaylandWorkspaceChecks::aToplevelClosedByItsProgramLeavesAtOnce();
    }
    void opensOnceAndThenActivates() { WaylandWorkspaceChecks::opensOnceAndThenActivates(); }

    // Without the entry KWin keeps its window list to itself: one line, and Xwayland's
    // programs only.
    void withoutTheEntryListsOnlyXwaylandPrograms() {
        const auto xterm = applicationsWithId("debian-xterm").value(0);
        const auto mousepad = applicationsWithId("org.xfce.mousepad").value(0);
        QVERIFY(xterm && mousepad);
        QVERIFY(QFile::remove(applicationsFolder() + "/quellory-tests.desktop"));
        RecordingLog log;
        std::unique_ptr<SessionWorkspace> refused;
        // KWin reads the entries again once it sees the folder change.
        QVERIFY(QTest::qWaitFor(
            [&] {
                log.lines.clear();
                refused = LinuxSession::workspace(*m_bundles, log, m_pool);
                return refused->sources().size() == 1;
            },
            programStartMs));
        QCOMPARE(log.lines, QStringList{"Quellory: the Wayland compositor offers no window list "
                                        "that Quellory can read; only X11 programs are listed"});
        QVERIFY(refused->runningApplication(xterm->processIdentifier()));
        QVERIFY(!refused->runningApplication(mousepad->processIdentifier()));
    }

    void compositorGoingAwayEmptiesTheList() {
        WaylandWorkspaceChecks::compositorGoingAwayEmptiesTheList();
    }
};

QTEST_GUILESS_MAIN(KWinWorkspaceTest)
#include "tst_kwinworkspace.moc"
