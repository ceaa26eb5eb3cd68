#include "fakes/SimulatedSession.h"
#include "views/AppsListActions.h"
#include "views/AppsListFilter.h"
#include "views/AppsListModel.h"
#include "views/AppsListSelection.h"

#include <QTest>

namespace {

const QString editor = QStringLiteral("org.example.Editor");
const QString mail = QStringLiteral("org.example.Mail");
const QString notes = QStringLiteral("org.example.Notes");
const QString terminal = QStringLiteral("org.example.Terminal");

// Installed: Editor, Mail, Notes. Running: Mail and Terminal.
struct Fixture {
    SimulatedSession session;
    std::shared_ptr<FakeRunningApplication> mailApp;
    std::shared_ptr<FakeRunningApplication> terminalApp;
    std::optional<AppsListActions> actions;
    std::optional<AppsListModel> model;
    std::optional<AppsListFilter> filter;
    std::optional<AppsListSelection> selection;

    // Answers whether the catalog loaded.
    bool start() {
        session.install(editor, "Editor");
        session.install(mail, "Mail");
        session.install(notes, "Notes");
        if (!session.loadCatalog())
            return false;
        mailApp = session.launch(mail, "Mail", 10);
        terminalApp = session.launch(terminal, "Terminal", 11);
        // Launches are written into the log.
        session.workspace.onOpen = [this](const QString &path) {
            session.log.lines << "open " + path;
        };
        actions.emplace(session.workspace, session.usage, session.bundles, session.time,
                        session.log);
        model.emplace(session.monitor, session.catalog, session.usage, *actions, session.bundles);
        filter.emplace(*model);
        selection.emplace(*actions, *model, *filter);
        return true;
    }

    QStringList shownNames(ListItem::Kind kind) const {
        QStringList names;
        for (const ListItem &item : filter->shownItems(kind))
            names << item.name;
        return names;
    }
    ListItem shownItem(const QString &name) const {
        for (const ListItem::Kind kind : {ListItem::Kind::quit, ListItem::Kind::open})
            for (const ListItem &item : filter->shownItems(kind))
                if (item.name == name)
                    return item;
        return {};
    }
};

} // namespace

class AppsListSelectionTest : public QObject {
    Q_OBJECT

private slots:
    void barTexts_data() {
        QTest::addColumn<int>("openCount");
        QTest::addColumn<int>("quitCount");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("title");
        QTest::newRow("running only") << 0 << 3 << "3 selected to quit"
                                      << "Quit 3 Apps";
        QTest::newRow("one running") << 0 << 1 << "1 selected to quit"
                                     << "Quit 1 App";
        QTest::newRow("one installed") << 1 << 0 << "1 selected to open"
                                       << "Open 1 App";
        QTest::newRow("both") << 1 << 2 << "3 selected"
                              << "Open 1 App & Quit 2 Apps";
        QTest::newRow("both, other way") << 2 << 1 << "3 selected"
                                         << "Open 2 Apps & Quit 1 App";
        QTest::newRow("all hidden") << 0 << 0 << "0 selected to quit"
                                    << "Apply";
    }
    void barTexts() {
        QFETCH(int, openCount);
        QFETCH(int, quitCount);
        QFETCH(QString, summary);
        QFETCH(QString, title);
        QCOMPARE(AppsListSelection::selectionSummary(openCount, quitCount), summary);
        QCOMPARE(AppsListSelection::actionButtonTitle(openCount, quitCount), title);
    }

    void countsLeaveOutWhatTheSearchHides() {
        Fixture f;
        QVERIFY(f.start());
        f.selection->toggleSelection(mail, true);
        f.selection->toggleSelection(terminal, true);
        f.selection->toggleSelection(editor, true);
        QCOMPARE(f.selection->quitCount(), 2);
        QCOMPARE(f.selection->openCount(), 1);

        f.filter->setSearchText("  ter");
        QCOMPARE(f.selection->quitCount(), 1);
        QCOMPARE(f.selection->openCount(), 0);
        f.filter->setSearchText("edit");
        QCOMPARE(f.selection->quitCount(), 0);
        QCOMPARE(f.selection->openCount(), 1);

        f.selection->toggleSelection(editor, false);
        QCOMPARE(f.selection->openCount(), 0);
        QCOMPARE(f.actions->selectedIDs(), (QSet{mail, terminal}));
    }

    void quittingByTheRowDeselectsAtOnceAndMovesTheAppWhenItEnds() {
        Fixture f;
        QVERIFY(f.start());
        f.selection->toggleSelection(mail, true);
        f.selection->toggleSelection(terminal, true);

        f.selection->performPrimaryAction(f.shownItem("Mail"));

        QCOMPARE(f.mailApp->terminateCalls, 1);
        QCOMPARE(f.actions->selectedIDs(), QSet{terminal});
        QCOMPARE(f.actions->busyIDs(), QSet{mail});
        f.session.end(f.mailApp);
        QCOMPARE(f.shownNames(ListItem::Kind::quit), QStringList{"Terminal"});
        // Its launch counted as a use: it ranks first.
        QCOMPARE(f.shownNames(ListItem::Kind::open), (QStringList{"Mail", "Editor", "Notes"}));
        // Still busy under its new section until the clean-up comes.
        QCOMPARE(f.actions->busyIDs(), QSet{mail});
        f.session.time.advance(1.5);
        QVERIFY(f.actions->busyIDs().isEmpty());
    }

    void openingByTheRowDeselectsAtOnceAndMovesTheAppWhenItRuns() {
        Fixture f;
        QVERIFY(f.start());
        f.selection->toggleSelection(notes, true);

        f.selection->performPrimaryAction(f.shownItem("Notes"));

        QCOMPARE(f.session.log.lines, QStringList{"open " + SimulatedSession::pathOf(notes)});
        QVERIFY(f.actions->selectedIDs().isEmpty());
        QCOMPARE(f.actions->busyIDs(), QSet{notes});
        f.session.workspace.takeOpenCompletion()(std::nullopt);
        QTRY_VERIFY(f.actions->busyIDs().isEmpty());
        f.session.launch(notes, "Notes", 12);
        QCOMPARE(f.shownNames(ListItem::Kind::quit), (QStringList{"Mail", "Notes", "Terminal"}));
        QCOMPARE(f.shownNames(ListItem::Kind::open), QStringList{"Editor"});
    }

    // The selection is pruned when the running applications change, not when the search does.
    void pruningKeepsOnlyWhatStillShows_data() {
        QTest::addColumn<QString>("ending");
        QTest::addColumn<QString>("searchText");
        QTest::addColumn<QSet<QString>>("selectedAfter");
        QTest::newRow("quit, now under Not Running")
            << mail << "" << QSet<QString>{mail, terminal, notes};
        QTest::newRow("quit, installed nowhere") << terminal << "" << QSet<QString>{mail, notes};
        QTest::newRow("hidden by the search") << terminal << "ote" << QSet<QString>{notes};
        QTest::newRow("hidden, nothing ended") << ""
                                               << "ote" << QSet<QString>{mail, terminal, notes};
    }
    void pruningKeepsOnlyWhatStillShows() {
        QFETCH(QString, ending);
        QFETCH(QString, searchText);
        QFETCH(QSet<QString>, selectedAfter);
        Fixture f;
        QVERIFY(f.start());
        f.actions->setSelectedIDs({mail, terminal, notes});
        f.filter->setSearchText(searchText);
        QCOMPARE(f.actions->selectedIDs(), (QSet{mail, terminal, notes}));

        if (!ending.isEmpty())
            f.session.end(ending == mail ? f.mailApp : f.terminalApp);
        f.session.usage.recordLaunch(editor); // a change that leaves the running set alone

        QCOMPARE(f.actions->selectedIDs(), selectedAfter);
    }
};

QTEST_MAIN(AppsListSelectionTest)
#include "tst_appslistselection.moc"
