#include "fakes/AppsListFixture.h"
#include "views/Translations.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <random>

namespace {

using RowKind = AppsListModel::RowKind;
using Kind = ListItem::Kind;
const QString &editor = AppsListSession::editor;
const QString &mail = AppsListSession::mail;
const QString &notes = AppsListSession::notes;
const QString &terminal = AppsListSession::terminal;

// The rows as shown: headers marked with "#", items and the empty-list text by their text.
QStringList shownRows(const AppsListFilter &filter) {
    QStringList rows;
    for (int row = 0; row < filter.rowCount(); ++row) {
        const QModelIndex index = filter.index(row, 0);
        const bool isHeader =
            RowKind(index.data(AppsListModel::RowKindRole).toInt()) == RowKind::sectionHeader;
        rows << (isHeader ? "# " : "") + index.data().toString();
    }
    return rows;
}

QStringList keys(const QAbstractItemModel &model) {
    QStringList found;
    for (int row = 0; row < model.rowCount(); ++row)
        found << model.index(row, 0).data(AppsListModel::RowKeyRole).toString();
    return found;
}

} // namespace

// The list's rows, as the search filters them and the checkboxes tick them.
class AppsListModelTest : public QObject {
    Q_OBJECT

private slots:
    // The counted texts take their English plural forms from the translations, as in the program.
    void initTestCase() { Translations::install(QLocale(QLocale::English)); }
    void runningSectionLeavesOutWhatCannotBeQuitAndSortsByName() {
        AppsListSession session;
        session.launch("org.example.Beta", "beta", 10);
        session.launch("org.example.Upper", "ALPHA", 11);
        session.launch("org.example.Lower", "alpha", 12);
        session.launch(std::nullopt, "Nameless process", 13);
        session.launch("com.apple.finder", "Finder", 14);
        session.launch(AppCatalog::builtInBundleIdentifier, "Quellory", 15);
        session.launch("org.example.Unnamed", std::nullopt, 16);
        auto helper = FakeRunningApplication::make("org.example.Helper", 17,
                                                   RunningApplication::ActivationPolicy::Accessory);
        helper->name = "Helper";
        session.workspace.launch(helper);
        AppsListRows rows(session);

        // Without a name an application goes by its identifier, sorted as the empty text; names
        // equal but for case keep the workspace's order.
        QCOMPARE(shownRows(rows.filter),
                 (QStringList{"# Running", "org.example.Unnamed", "ALPHA", "alpha", "beta"}));
    }

    void runningItemsTakeTheirIconPathFromCatalogPlatformOrHandle_data() {
        QTest::addColumn<bool>("isCatalogued");
        QTest::addColumn<QString>("platformPath");
        QTest::addColumn<QString>("handlePath");
        QTest::addColumn<QVariant>("iconPath");
        const QString elsewhere = "/opt/Mail.desktop";
        QTest::newRow("catalogued")
            << true << elsewhere << "/handle/Mail" << QVariant(SimulatedSession::pathOf(mail));
        QTest::newRow("installed elsewhere")
            << false << elsewhere << "/handle/Mail" << QVariant(elsewhere);
        QTest::newRow("only the handle knows") << false << ""
                                               << "/handle/Mail" << QVariant("/handle/Mail");
        QTest::newRow("nowhere") << false << ""
                                 << "" << QVariant();
    }
    void runningItemsTakeTheirIconPathFromCatalogPlatformOrHandle() {
        QFETCH(bool, isCatalogued);
        QFETCH(QString, platformPath);
        QFETCH(QString, handlePath);
        AppsListSession session;
        if (isCatalogued)
            session.install(mail, "Mail");
        if (!platformPath.isEmpty())
            session.bundles.installedPaths.insert(mail, platformPath);
        QVERIFY(session.loadCatalog());
        const auto application = FakeRunningApplication::make(mail, 10);
        if (!handlePath.isEmpty())
            application->path = handlePath;
        session.workspace.launch(application);
        AppsListRows rows(session);

        QCOMPARE(shownRows(rows.filter), (QStringList{"# Running", mail}));
        QTEST(rows.filter.index(1, 0).data(AppsListModel::IconPathRole), "iconPath");
    }

    void searchFiltersBothSectionsByName_data() {
        QTest::addColumn<bool>("hasApps");
        QTest::addColumn<QString>("searchText");
        QTest::addColumn<QStringList>("rows");
        const auto row = [](const char *name, bool hasApps, const QString &text,
                            const QStringList &rows) {
            QTest::newRow(name) << hasApps << text << rows;
        };
        // The running Mail stays out of "Not Running" although the search hides it above.
        row("trimmed, any case", true, "  mAI \n", {"# Running", "Mail"});
        row("both sections", true, "e",
            {"# Running", "Terminal", "# Not Running", "Editor", "Notes"});
        row("one section", true, "not", {"# Not Running", "Notes"});
        row("identifiers are not searched", true, "example", {"No results for \"example\""});
        row("no match quotes the text as typed", true, " zz ", {"No results for \" zz \""});
        row("nothing at all", false, "", {"No apps found"});
        row("nothing at all, searched", false, "x", {"No results for \"x\""});
    }
    void searchFiltersBothSectionsByName() {
        QFETCH(bool, hasApps);
        QFETCH(QString, searchText);
        AppsListSession session;
        QVERIFY(hasApps ? session.start() : session.loadCatalog());
        AppsListRows rows(session);
        QAbstractItemModelTester tester(&rows.filter);
        QSignalSpy resets(&rows.filter, &QAbstractItemModel::modelReset);

        rows.filter.setSearchText(searchText);

        QTEST(shownRows(rows.filter), "rows");
        QCOMPARE(resets.size(), 0);
        rows.filter.setSearchText(QString());
        QCOMPARE(shownRows(rows.filter).size(), hasApps ? 6 : 1);
    }

    // Whatever happens, and in whatever order, the rows changed one by one end up as the rows
    // built afresh, and the view's indexes follow them.
    void followsEveryChangeRowByRow_data() {
        QTest::addColumn<unsigned>("seed");
        for (const unsigned seed : {1u, 2u, 3u, 4u, 5u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void followsEveryChangeRowByRow() {
        QFETCH(unsigned, seed);
        std::mt19937 random(seed);
        const auto pick = [&random](qsizetype count) {
            return std::uniform_int_distribution<qsizetype>(0, count - 1)(random);
        };
        const auto app = [](qsizetype i) { return QStringLiteral("org.example.App%1").arg(i); };
        const QStringList words{"Atlas", "board", "Cello", "atlas", "Draw", "echo",  "Fern",
                                "grain", "Harp",  "iris",  "Jade",  "kilo", "Lumen", "mono"};
        AppsListSession session;
        for (int i = 0; i < 40; ++i)
            session.install(app(i), words[i % words.size()] + ' ' + words[(i * 7) % words.size()],
                            i % 9 == 0);
        QVERIFY(session.loadCatalog());
        AppsListRows rows(session);
        QAbstractItemModelTester modelTester(&rows.model);
        QAbstractItemModelTester filterTester(&rows.filter);
        QSignalSpy resets(&rows.model, &QAbstractItemModel::modelReset);
        QSignalSpy filterResets(&rows.filter, &QAbstractItemModel::modelReset);
        QList<std::shared_ptr<FakeRunningApplication>> running;
        qint32 nextPid = 100;

        for (int step = 0; step < 150; ++step) {
            switch (pick(5)) {
            case 0: // some run from the catalog, some are not installed, some twice
                running << session.launch(app(pick(50)), words[pick(words.size())], nextPid++);
                break;
            case 1:
                if (!running.isEmpty())
                    session.end(running.takeAt(pick(running.size())));
                break;
            case 2:
                session.usage.recordLaunch(app(pick(40)));
                break;
            case 3:
                rows.filter.setSearchText(
                    QStringList{"", "a", " e", "ar", "zz", "o ", "ATLAS"}[pick(7)]);
                break;
            case 4: {
                // A row the view holds on to stays on the same application.
                if (rows.filter.rowCount() == 0)
                    break;
                const QPersistentModelIndex held =
                    rows.filter.index(int(pick(rows.filter.rowCount())), 0);
                const QString key = held.data(AppsListModel::RowKeyRole).toString();
                session.usage.recordLaunch(app(pick(40)));
                if (held.isValid())
                    QCOMPARE(held.data(AppsListModel::RowKeyRole).toString(), key);
                break;
            }
            }
            AppsListRows fresh(session);
            fresh.filter.setSearchText(rows.filter.searchText());
            QCOMPARE(keys(rows.model), keys(fresh.model));
            QCOMPARE(keys(rows.filter), keys(fresh.filter));
            QCOMPARE(shownRows(rows.filter), shownRows(fresh.filter));
        }
        QCOMPARE(resets.size(), 0);
        QCOMPARE(filterResets.size(), 0);
    }

    // A tick or a busy mark repaints its own row, not the list.
    void selectionAndBusyMarksChangeOnlyTheirRows() {
        AppsListSession session;
        QVERIFY(session.start());
        AppsListRows rows(session);
        QSignalSpy changes(&rows.model, &QAbstractItemModel::dataChanged);
        session.actions.setSelectedIDs({mail, notes});
        session.actions.quitApp(terminal, nullptr);
        QStringList changed;
        for (const QList<QVariant> &change : std::as_const(changes))
            changed << change.at(0).toModelIndex().data().toString() + ".." +
                           change.at(1).toModelIndex().data().toString();
        changed.sort();
        QCOMPARE(changed, (QStringList{"Mail..Mail", "Notes..Notes", "Terminal..Terminal"}));
    }

    void selectionBarTexts_data() {
        QTest::addColumn<int>("openCount");
        QTest::addColumn<int>("quitCount");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("title");
        QTest::newRow("one running") << 0 << 1 << "1 selected to quit"
                                     << "Quit 1 App";
        QTest::newRow("running only") << 0 << 3 << "3 selected to quit"
                                      << "Quit 3 Apps";
        QTest::newRow("one installed") << 1 << 0 << "1 selected to open"
                                       << "Open 1 App";
        QTest::newRow("both") << 2 << 1 << "3 selected"
                              << "Open 2 Apps & Quit 1 App";
        QTest::newRow("all hidden") << 0 << 0 << "0 selected to quit"
                                    << "Apply";
    }
    void selectionBarTexts() {
        QFETCH(int, openCount);
        QFETCH(int, quitCount);
        QTEST(AppsListSelection::selectionSummary(openCount, quitCount), "summary");
        QTEST(AppsListSelection::actionButtonTitle(openCount, quitCount), "title");
    }

    // The selection is pruned when the running applications change, not when the search does.
    void pruningKeepsOnlyWhatStillShows_data() {
        QTest::addColumn<QString>("ending");
        QTest::addColumn<QString>("searchText");
        QTest::addColumn<QSet<QString>>("selectedAfter");
        QTest::newRow("quit, now under Not Running") << mail << "" << QSet{mail, terminal, notes};
        QTest::newRow("quit, installed nowhere") << terminal << "" << QSet{mail, notes};
        QTest::newRow("hidden by the search") << terminal << "ote" << QSet{notes};
        QTest::newRow("hidden, nothing ended") << ""
                                               << "ote" << QSet{mail, terminal, notes};
    }
    void pruningKeepsOnlyWhatStillShows() {
        QFETCH(QString, ending);
        QFETCH(QString, searchText);
        AppsListSession session;
        QVERIFY(session.start());
        AppsListRows rows(session);
        session.actions.setSelectedIDs({mail, terminal, notes});
        rows.filter.setSearchText(searchText);
        QCOMPARE(session.actions.selectedIDs(), (QSet{mail, terminal, notes}));

        if (!ending.isEmpty())
            session.end(ending == mail ? session.mailApp : session.terminalApp);
        session.usage.recordLaunch(editor); // a change that leaves the running set alone

        QTEST(session.actions.selectedIDs(), "selectedAfter");
    }
};

QTEST_MAIN(AppsListModelTest)
#include "tst_appslistmodel.moc"
