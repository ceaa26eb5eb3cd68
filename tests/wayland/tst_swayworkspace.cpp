#include "platform/linux/wayland/WlrForeignToplevelSource.h"
#include "session/SwaySession.h"
#include "WaylandWorkspaceChecks.h"

// The workspace of a Wayland session on a real headless sway with its Xwayland: native clients
// through the foreign toplevel protocol.
class SwayWorkspaceTest : public QObject, WaylandWorkspaceChecks {
    Q_OBJECT

    std::unique_ptr<SwaySession> m_sway;

    HeadlessCompositor &session() override { return *m_sway; }
    const QElapsedTimer &sinceAToplevelLeft() const override {
        return compositorSource<WlrForeignToplevelSource>()->sinceLastClosed();
    }
    void type(const QString &text) override { m_sway->run("wtype", {text}); }

private slots:
    void initTestCase() {
        QVERIFY(makeEntries({"debian-xterm", "org.xfce.mousepad", "foot"}) && writeOpenedEntry());
        m_sway = std::make_unique<SwaySession>();
        QVERIFY2(m_sway->isReady(), "sway and its Xwayland start");
        QVERIFY2(!m_sway->ipcSocket().isEmpty(), "sway's IPC socket is there");
        openWorkspace();
        QVERIFY2(compositorSource<WlrForeignToplevelSource>(),
                 "the workspace reads sway's toplevels");
        QVERIFY(m_log.lines.isEmpty());
    }
    void init() { m_log.lines.clear(); }

    void identifiesEachClientOnce_data() {
        identityColumns();
        QTest::newRow("foot, its app_id stating its entry") << QStringList{"foot"} << ""
                                                            << "foot"
                                                            << "Foot" << Rule::statedId;
        QTest::newRow("mousepad on GTK's Wayland backend, by the last part of its entry's id")
            << QStringList{"mousepad"} << "GDK_BACKEND=wayland"
            << "org.xfce.mousepad"
            << "Mousepad" << Rule::wmClassAsId;
        qtAndXtermRows();
    }
    void identifiesEachClientOnce() { WaylandWorkspaceChecks::identifiesEachClientOnce(); }
    void quitClosesFootAndAsksMousepad() { quitClosesOneAndAsksMousepad("foot"); }
    void neverClosesAnXwaylandWindowThatCannotBeAsked() {
        WaylandWorkspaceChecks::neverClosesAnXwaylandWindowThatCannotBeAsked();
    }
    void aToplevelClosedByItsProgramLeavesAtOnce() {
        WaylandWorkspaceChecks::aToplevelClosedByItsProgramLeavesAtOnce();
    }
    void opensOnceAndThenActivates() { WaylandWorkspaceChecks::opensOnceAndThenActivates(); }
    void compositorGoingAwayEmptiesTheList() {
        WaylandWorkspaceChecks::compositorGoingAwayEmptiesTheList();
    }
};

QTEST_GUILESS_MAIN(SwayWorkspaceTest)
#include "tst_swayworkspace.moc"
