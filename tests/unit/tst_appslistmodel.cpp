#include "fakes/SimulatedSession.h"
#include "views/AppsListActions.h"
#include "views/AppsListFilter.h"
#include "views/AppsListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <random>

namespace {

using RowKind = AppsListModel::RowKind;
using Policy = RunningApplication::ActivationPolicy;

// The list over a session, as the main window builds it.
struct List {
    explicit List(SimulatedSession &session)
        : actions(session.workspace, session.usage, session.bundles, session.time, session.log),
          model(session.monitor, session.catalog, session.usage, actions, session.bundles),
          filter(model) {}

    AppsListActions actions;
    AppsListModel model;
    AppsListFilter filter;
};

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

QStringList modelKeys(const AppsListModel &model) {
    QStringList keys;
    for (int row = 0; row < model.rowCount(); ++row)
        keys << model.row(row).key;
    return keys;
}

QStringList shownKeys(const AppsListFilter &filter) {
    QStringList keys;
    for (int row = 0; row < filter.rowCount(); ++row)
        keys << filter.index(row, 0).data(AppsListModel::RowKeyRole).toString();
    return keys;
}

} // namespace

class AppsListModelTest : public QObject {
    Q_OBJECT

private slots:
    void runningSectionLeavesOutWhatCannotBeQuitAndSortsByName() {
        SimulatedSession session;
        session.launch("org.example.Beta", "beta", 10);
        session.launch("org.example.Upper", "ALPHA", 11);
        session.launch("org.example.Lower", "alpha", 12);
        session.launch(std::nullopt, "Nameless process", 13);
        session.launch("com.apple.finder", "Finder", 14);
        session.launch(AppCatalog::builtInBundleIdentifier, "Quellory", 15);
        session.launch("org.example.Unnamed", std::nullopt, 16);
        auto helper = FakeRunningApplication::make("org.example.Helper", 17, Policy::Accessory);
        helper->name = "Helper";
        session.workspace.launch(helper);
        List list(session);

        // Without a name an application goes by its identifier, sorted as the empty text; names
        // equal but for case keep the workspace's order.
        QCOMPARE(shownRows(list.filter),
                 (QStringList{"# Running", "org.example.Unnamed", "ALPHA", "alpha", "beta"}));
    }

    void runningItemsTakeTheirIconPathFromCatalogPlatformOrHandle_data() {
        QTest::addColumn<bool>("isCatalogued");
        QTest::addColumn<QString>("platformPath");
        QTest::addColumn<QString>("handlePath");
        QTest::addColumn<QVariant>("iconPath");
        QTest::newRow("catalogued")
            << true << "/opt/Mail.desktop"
            << "/handle/Mail" << QVariant(SimulatedSession::pathOf("org.example.Mail"));
        QTest::newRow("installed elsewhere") << false << "/opt/Mail.desktop"
                                             << "/handle/Mail" << QVariant("/opt/Mail.desktop");
        QTest::newRow("only the handle knows") << false << ""
                                               << "/handle/Mail" << QVariant("/handle/Mail");
        QTest::newRow("nowhere") << false << ""
                                 << "" << QVariant();
    }
    void runningItemsTakeTheirIconPathFromCatalogPlatformOrHandle() {
        QFETCH(bool, isCatalogued);
        QFETCH(QString, platformPath);
        QFETCH(QString, handlePath);
        QFETCH(QVariant, iconPath);
        SimulatedSession session;
        if (isCatalogued)
            session.install("org.example.Mail", "Mail");
        if (!platformPath.isEmpty())
            session.bundles.installedPaths.insert("org.example.Mail", platformPath);
        QVERIFY(session.loadCatalog());
        const auto mail = FakeRunningApplication::make("org.example.Mail", 10);
        if (!handlePath.isEmpty())
            mail->path = handlePath;
        session.workspace.launch(mail);
        List list(session);

        QCOMPARE(shownRows(list.filter), (QStringList{"# Running", "org.example.Mail"}));
        QCOMPARE(list.filter.index(1, 0).data(AppsListModel::IconPathRole), iconPath);
    }

    void installedSectionRanksByUseAndLeavesOutRunningApps() {
        SimulatedSession session;
        session.install("org.example.Atlas", "Atlas");
        session.install("org.example.Board", "Board");
        session.install("org.example.Calc", "Calc", true);
        session.install("org.example.Draw", "Draw");
        QVERIFY(session.loadCatalog());
        session.usage.recordLaunch("org.example.Draw");
        session.launch("org.example.Board", "Board", 10);
        List list(session);
        QAbstractItemModelTester tester(&list.model);
        QSignalSpy resets(&list.model, &QAbstractItemModel::modelReset);
        QSignalSpy moves(&list.model, &QAbstractItemModel::rowsMoved);
        QCOMPARE(shownRows(list.filter),
                 (QStringList{"# Running", "Board", "# Not Running", "Draw", "Atlas", "Calc"}));
        const QPersistentModelIndex atlas = list.filter.index(4, 0);

        // Two launches outweigh one; the utility stays last however much it is used.
        session.usage.recordLaunch("org.example.Atlas");
        session.usage.recordLaunch("org.example.Atlas");
        session.usage.recordLaunch("org.example.Calc");
        session.usage.recordLaunch("org.example.Calc");
        session.usage.recordLaunch("org.example.Calc");

        QCOMPARE(shownRows(list.filter),
                 (QStringList{"# Running", "Board", "# Not Running", "Atlas", "Draw", "Calc"}));
        QCOMPARE(atlas.row(), 3);
        QCOMPARE(atlas.data().toString(), "Atlas");
        QVERIFY(!moves.isEmpty());
        QCOMPARE(resets.size(), 0);
    }

    void searchFiltersBothSectionsByName_data() {
        QTest::addColumn<bool>("hasApps");
        QTest::addColumn<QString>("searchText");
        QTest::addColumn<QStringList>("rows");
        QTest::newRow("no search")
            << true << ""
            << QStringList{"# Running", "Mail", "Terminal", "# Not Running", "Editor", "Notes"};
        // The running Mail stays out of "Not Running" although the search hides it above.
        QTest::newRow("trimmed, any case") << true << "  mAI \n"
                                           << QStringList{"# Running", "Mail"};
        QTest::newRow("both sections")
            << true << "e"
            << QStringList{"# Running", "Terminal", "# Not Running", "Editor", "Notes"};
        QTest::newRow("one section") << true << "not" << QStringList{"# Not Running", "Notes"};
        QTest::newRow("identifiers are not searched")
            << true << "example" << QStringList{"No results for \"example\""};
        QTest::newRow("no match quotes the text as typed")
            << true << " zz " << QStringList{"No results for \" zz \""};
        QTest::newRow("nothing at all") << false << "" << QStringList{"No apps found"};
        QTest::newRow("nothing at all, searched")
            << false << "x" << QStringList{"No results for \"x\""};
    }
    void searchFiltersBothSectionsByName() {
        QFETCH(bool, hasApps);
        QFETCH(QString, searchText);
        QFETCH(QStringList, rows);
        SimulatedSession session;
        if (hasApps) {
            session.install("org.example.Editor", "Editor");
            session.install("org.example.Mail", "Mail");
            session.install("org.example.Notes", "Notes");
        }
        QVERIFY(session.loadCatalog());
        if (hasApps) {
            session.launch("org.example.Mail", "Mail", 10);
            session.launch("org.example.Terminal", "Terminal", 11);
        }
        List list(session);
        QAbstractItemModelTester tester(&list.filter);
        QSignalSpy resets(&list.filter, &QAbstractItemModel::modelReset);

        list.filter.setSearchText(searchText);

        QCOMPARE(shownRows(list.filter), rows);
        QCOMPARE(resets.size(), 0);
        list.filter.setSearchText(QString());
        QCOMPARE(shownRows(list.filter).size(), hasApps ? 6 : 1);
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
        const QStringList words{"Atlas", "board", "Cello", "atlas", "Draw", "echo",  "Fern",
                                "grain", "Harp",  "iris",  "Jade",  "kilo", "Lumen", "mono"};
        SimulatedSession session;
        for (int i = 0; i < 40; ++i)
            session.install(QStringLiteral("org.example.App%1").arg(i),
                            words[i % words.size()] + ' ' + words[(i * 7) % words.size()],
                            i % 9 == 0);
        QVERIFY(session.loadCatalog());
        List list(session);
        QAbstractItemModelTester modelTester(&list.model);
        QAbstractItemModelTester filterTester(&list.filter);
        QSignalSpy resets(&list.model, &QAbstractItemModel::modelReset);
        QSignalSpy filterResets(&list.filter, &QAbstractItemModel::modelReset);
        QList<std::shared_ptr<FakeRunningApplication>> running;
        qint32 nextPid = 100;

        for (int step = 0; step < 150; ++step) {
            switch (pick(5)) {
            case 0: {
                // Some run from the catalog, some are not installed, some twice.
                const QString id = QStringLiteral("org.example.App%1").arg(pick(50));
                running << session.launch(id, words[pick(words.size())], nextPid++);
                break;
            }
            case 1:
                if (!running.isEmpty())
                    session.end(running.takeAt(pick(running.size())));
                break;
            case 2:
                session.usage.recordLaunch(QStringLiteral("org.example.App%1").arg(pick(40)));
                break;
            case 3:
                list.filter.setSearchText(
                    QStringList{"", "a", " e", "ar", "zz", "o ", "ATLAS"}[pick(7)]);
                break;
            case 4: {
                // A row the view holds on to stays on the same application.
                if (list.filter.rowCount() == 0)
                    break;
                const QPersistentModelIndex held =
                    list.filter.index(int(pick(list.filter.rowCount())), 0);
                const QString key = held.data(AppsListModel::RowKeyRole).toString();
                session.usage.recordLaunch(QStringLiteral("org.example.App%1").arg(pick(40)));
                if (held.isValid())
                    QCOMPARE(held.data(AppsListModel::RowKeyRole).toString(), key);
                break;
            }
            }
            List fresh(session);
            fresh.filter.setSearchText(list.filter.searchText());
            QCOMPARE(modelKeys(list.model), modelKeys(fresh.model));
            QCOMPARE(shownKeys(list.filter), shownKeys(fresh.filter));
            QCOMPARE(shownRows(list.filter), shownRows(fresh.filter));
        }
        QCOMPARE(resets.size(), 0);
        QCOMPARE(filterResets.size(), 0);
    }

    void selectionAndBusyMarksChangeOnlyTheirRows() {
        SimulatedSession session;
        session.install("org.example.Notes", "Notes");
        QVERIFY(session.loadCatalog());
        session.launch("org.example.Mail", "Mail", 10);
        session.launch("org.example.Mail", "Mail", 11);
        session.launch("org.example.Terminal", "Terminal", 12);
        List list(session);
        QSignalSpy changes(&list.model, &QAbstractItemModel::dataChanged);
        const auto changedRows = [&changes] {
            QList<int> rows;
            for (const QList<QVariant> &change : std::as_const(changes))
                rows << change.at(0).toModelIndex().row();
            changes.clear();
            std::sort(rows.begin(), rows.end());
            return rows;
        };

        list.actions.setSelectedIDs({"org.example.Mail", "org.example.Notes"});
        QCOMPARE(changedRows(), (QList{1, 2, 5}));
        QCOMPARE(list.filter.index(1, 0).data(AppsListModel::IsSelectedRole), true);
        QCOMPARE(list.filter.index(3, 0).data(AppsListModel::IsSelectedRole), false);

        list.actions.setSelectedIDs({"org.example.Notes", "org.example.Terminal"});
        QCOMPARE(changedRows(), (QList{1, 2, 3}));

        list.actions.quitApp("org.example.Terminal", nullptr);
        QCOMPARE(changedRows(), QList{3});
        QCOMPARE(list.filter.index(3, 0).data(AppsListModel::IsBusyRole), true);
    }
};

QTEST_MAIN(AppsListModelTest)
#include "tst_appslistmodel.moc"
