#include "fakes/SimulatedSession.h"
#include "views/AppActionRow.h"
#include "views/AppsListActions.h"
#include "views/AppsListFilter.h"
#include "views/AppsListModel.h"
#include "views/AppsListView.h"
#include "views/SelectionBar.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

namespace {

using Part = AppActionRow::Part;

const QString editor = QStringLiteral("org.example.Editor");
const QString mail = QStringLiteral("org.example.Mail");
const QString notes = QStringLiteral("org.example.Notes");
const QString terminal = QStringLiteral("org.example.Terminal");

// The list in a window with a search field above it, as the main window has. Installed: Editor,
// Mail, Notes and any extra names; running: Mail and Terminal, which refuse to quit so that the
// log tells the order of the requests.
struct Fixture {
    SimulatedSession session;
    std::shared_ptr<FakeRunningApplication> mailApp;
    std::shared_ptr<FakeRunningApplication> terminalApp;
    std::optional<AppsListActions> actions;
    QWidget window;
    QLineEdit *searchField = nullptr;
    AppsListView *view = nullptr;
    QListView *list = nullptr;

    // Answers whether the window came up.
    bool start(const QStringList &extraInstalled = {}) {
        session.install(editor, "Editor");
        session.install(mail, "Mail");
        session.install(notes, "Notes");
        for (const QString &name : extraInstalled)
            session.install("org.example.extra." + name, name);
        if (!session.loadCatalog())
            return false;
        mailApp = session.launch(mail, "Mail", 10);
        terminalApp = session.launch(terminal, "Terminal", 11);
        mailApp->acceptsTerminate = terminalApp->acceptsTerminate = false;
        session.workspace.onOpen = [this](const QString &path) {
            session.log.lines << "open " + path;
        };
        actions.emplace(session.workspace, session.usage, session.bundles, session.time,
                        session.log);
        searchField = new QLineEdit(&window);
        view = new AppsListView(session.monitor, session.catalog, session.usage, session.icons,
                                *actions, session.bundles, &window);
        list = view->listView();
        auto *layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(searchField);
        layout->addWidget(view);
        QObject::connect(searchField, &QLineEdit::textChanged, view, &AppsListView::setSearchText);
        window.resize(460, 560);
        window.show();
        QApplication::setActiveWindow(&window);
        return QTest::qWaitForWindowActive(&window);
    }

    QModelIndex row(const QString &text) const {
        const QAbstractItemModel *rows = list->model();
        for (int row = 0; row < rows->rowCount(); ++row)
            if (rows->index(row, 0).data().toString() == text)
                return rows->index(row, 0);
        return {};
    }
    QStyleOptionViewItem option(const QModelIndex &index) const {
        QStyleOptionViewItem option;
        option.initFrom(list);
        option.font = list->font();
        option.widget = list;
        option.rect = list->visualRect(index);
        return option;
    }
    AppActionRow::Geometry geometry(const QString &text) const {
        const QModelIndex index = row(text);
        return view->rowDelegate()->geometry(option(index), index);
    }
    void click(const QPoint &position) const {
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, position);
    }
    QString toolTipAt(const QPoint &position) const {
        QHelpEvent event(QEvent::ToolTip, position, list->viewport()->mapToGlobal(position));
        QApplication::sendEvent(list->viewport(), &event);
        return event.isAccepted() && QToolTip::isVisible() ? QToolTip::text() : QString();
    }
    QImage picture() const { return list->viewport()->grab().toImage(); }
    QColor background() const { return list->viewport()->palette().color(QPalette::Window); }
};

QColor over(const QColor &colour, double alpha, const QColor &background) {
    const auto mix = [&](int top, int bottom) {
        return qRound(top * alpha + bottom * (1 - alpha));
    };
    return QColor(mix(colour.red(), background.red()), mix(colour.green(), background.green()),
                  mix(colour.blue(), background.blue()));
}

bool isClose(const QColor &a, const QColor &b) {
    return std::abs(a.red() - b.red()) <= 4 && std::abs(a.green() - b.green()) <= 4 &&
           std::abs(a.blue() - b.blue()) <= 4;
}

// Pixels in the rectangle that differ from the colour.
int pixelsUnlike(const QImage &image, const QRect &rect, const QColor &colour) {
    int count = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            count += isClose(image.pixelColor(x, y), colour) ? 0 : 1;
    return count;
}

// Where the capsule's fill shows: inside its rounded left end, clear of the symbol.
QPoint capsuleFillPoint(const QRect &pill) {
    return {pill.left() + pill.height() / 2 - 2, pill.top() + 3};
}

} // namespace

class AppsListViewTest : public QObject {
    Q_OBJECT

private slots:
    void checkboxTicksAndUnticksItsRow() {
        Fixture f;
        QVERIFY(f.start());
        QVERIFY(!f.view->selectionBar()->isVisible());

        f.click(f.geometry("Mail").checkbox.center());
        QCOMPARE(f.actions->selectedIDs(), QSet{mail});
        QVERIFY(f.view->selectionBar()->isVisible());
        QCOMPARE(f.view->selectionBar()->summary(), "1 selected to quit");
        QCOMPARE(f.view->selectionBar()->actionTitle(), "Quit 1 App");

        // The name is no control; the checkbox goes back off.
        f.click(f.geometry("Mail").name.center());
        QCOMPARE(f.actions->selectedIDs(), QSet{mail});
        f.click(f.geometry("Mail").checkbox.center());
        QVERIFY(f.actions->selectedIDs().isEmpty());
        QVERIFY(!f.view->selectionBar()->isVisible());
        QCOMPARE(f.mailApp->terminateCalls, 0);
    }

    void pillRunsItsRowsActionAndShowsItsToolTip_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("toolTip");
        QTest::addColumn<QStringList>("log");
        QTest::newRow("quit") << "Terminal"
                              << "Quit Terminal"
                              << QStringList{"Quellory: terminate() refused for "
                                             "org.example.Terminal pid=11",
                                             "Quellory: no terminate sent for org.example.Terminal "
                                             "(sandboxed builds cannot quit other apps)"};
        QTest::newRow("open") << "Notes"
                              << "Open Notes"
                              << QStringList{"open " + SimulatedSession::pathOf(notes)};
    }
    void pillRunsItsRowsActionAndShowsItsToolTip() {
        QFETCH(QString, name);
        QFETCH(QString, toolTip);
        QFETCH(QStringList, log);
        Fixture f;
        QVERIFY(f.start());
        const QRect pill = f.geometry(name).action;
        QCOMPARE(f.toolTipAt(pill.center()), toolTip);
        QCOMPARE(f.toolTipAt(f.geometry(name).name.center()), QString());

        f.click(pill.center());
        QCOMPARE(f.session.log.lines, log);
        QCOMPARE(f.actions->busyIDs().size(), 1);

        // Busy: a spinner stands where the button was, and a click there does nothing.
        f.click(f.geometry(name).action.center());
        QCOMPARE(f.session.log.lines, log);
        QCOMPARE(f.toolTipAt(f.geometry(name).action.center()), QString());
    }

    void busyRowShowsASpinnerInsteadOfItsButton() {
        Fixture f;
        QVERIFY(f.start());
        const QColor red(255, 59, 48);
        const QRect pill = f.geometry("Terminal").action;
        QVERIFY(isClose(f.picture().pixelColor(capsuleFillPoint(pill)),
                        over(red, 0.12, f.background())));
        QVERIFY(!f.view->isSpinnerTurning());

        f.actions->quitApp(terminal, f.terminalApp);
        const QRect frame = f.geometry("Terminal").action;
        QCOMPARE(frame.size(), QSize(72, 26));
        QCOMPARE(frame.right(), pill.right());
        const QImage busy = f.picture();
        QVERIFY(isClose(busy.pixelColor(capsuleFillPoint(pill)), f.background()));
        QRect spinner(0, 0, 16, 16);
        spinner.moveCenter(frame.center());
        QVERIFY(pixelsUnlike(busy, spinner, f.background()) > 20);
        QCOMPARE(pixelsUnlike(busy, frame.adjusted(0, 0, -50, 0), f.background()), 0);
        QVERIFY(f.view->isSpinnerTurning());
        QTRY_VERIFY(f.picture() != busy);

        // The checkbox still works.
        f.click(f.geometry("Terminal").checkbox.center());
        QCOMPARE(f.actions->selectedIDs(), QSet{terminal});

        f.session.time.advance(1.5);
        QVERIFY(!f.view->isSpinnerTurning());
        QVERIFY(isClose(f.picture().pixelColor(capsuleFillPoint(pill)),
                        over(red, 0.12, f.background())));
    }

    void keyboardMovesBetweenItemsTicksAndPresses() {
        Fixture f;
        QVERIFY(f.start());
        f.searchField->setFocus();
        QTest::keyClick(f.searchField, Qt::Key_Tab);
        QVERIFY(f.list->hasFocus());
        QCOMPARE(f.list->currentIndex().data().toString(), "Mail");

        QTest::keyClick(f.list, Qt::Key_Down);
        QCOMPARE(f.list->currentIndex().data().toString(), "Terminal");
        // Past the "Not Running" header, to the first installed item, and back.
        QTest::keyClick(f.list, Qt::Key_Down);
        QCOMPARE(f.list->currentIndex().data().toString(),
                 f.list->model()->index(4, 0).data().toString());
        QTest::keyClick(f.list, Qt::Key_Up);
        QCOMPARE(f.list->currentIndex().data().toString(), "Terminal");
        QTest::keyClick(f.list, Qt::Key_Up);
        QTest::keyClick(f.list, Qt::Key_Up);
        QCOMPARE(f.list->currentIndex().data().toString(), "Mail");

        QTest::keyClick(f.list, Qt::Key_Space);
        QCOMPARE(f.actions->selectedIDs(), QSet{mail});
        QTest::keyClick(f.list, Qt::Key_Down);
        QTest::keyClick(f.list, Qt::Key_Space);
        QCOMPARE(f.actions->selectedIDs(), (QSet{mail, terminal}));
        QTest::keyClick(f.list, Qt::Key_Space);
        QCOMPARE(f.actions->selectedIDs(), QSet{mail});

        QTest::keyClick(f.list, Qt::Key_Return);
        QCOMPARE(f.terminalApp->terminateCalls, 1);
        QCOMPARE(f.actions->busyIDs(), QSet{terminal});
        QTest::keyClick(f.list, Qt::Key_Enter);
        QCOMPARE(f.terminalApp->terminateCalls, 1);
    }

    void emptyListTextIsCentredWithRoomAround() {
        Fixture f;
        QVERIFY(f.start());
        QTest::keyClicks(f.searchField, " zz");

        QCOMPARE(f.list->model()->rowCount(), 1);
        const QModelIndex index = f.list->model()->index(0, 0);
        QCOMPARE(index.data().toString(), "No results for \" zz\"");
        // Centred, with 40 points of space above and below.
        const QRect row = f.list->visualRect(index);
        const QImage picture = f.picture();
        QRect drawn;
        for (int y = row.top(); y <= row.bottom(); ++y)
            for (int x = row.left(); x <= row.right(); ++x)
                if (!isClose(picture.pixelColor(x, y), f.background()))
                    drawn |= QRect(x, y, 1, 1);
        QVERIFY(drawn.top() >= row.top() + 40);
        QVERIFY(drawn.bottom() <= row.bottom() - 40);
        QVERIFY(row.bottom() - drawn.bottom() < 60);
        QVERIFY(std::abs(drawn.center().x() - row.center().x()) <= 2);
    }

    void selectionBarActsOnEveryTickedItemOpensFirst() {
        Fixture f;
        QVERIFY(f.start());
        for (const char *name : {"Terminal", "Notes", "Mail"})
            f.click(f.geometry(name).checkbox.center());
        QCOMPARE(f.view->selectionBar()->summary(), "3 selected");
        QCOMPARE(f.view->selectionBar()->actionTitle(), "Open 1 App & Quit 2 Apps");

        QTest::mouseClick(f.view->selectionBar()->actionButton(), Qt::LeftButton);

        QCOMPARE(
            f.session.log.lines,
            (QStringList{"open " + SimulatedSession::pathOf(notes),
                         "Quellory: terminate() refused for org.example.Mail pid=10",
                         "Quellory: no terminate sent for org.example.Mail (sandboxed builds "
                         "cannot quit other apps)",
                         "Quellory: terminate() refused for org.example.Terminal pid=11",
                         "Quellory: no terminate sent for org.example.Terminal (sandboxed builds "
                         "cannot quit other apps)"}));
        QVERIFY(f.actions->selectedIDs().isEmpty());
        QVERIFY(!f.view->selectionBar()->isVisible());
    }

    void searchThatHidesTheSelectionLeavesOnlyApply() {
        Fixture f;
        QVERIFY(f.start());
        f.click(f.geometry("Mail").checkbox.center());
        QTest::keyClicks(f.searchField, "note");
        QVERIFY(f.view->selectionBar()->isVisible());
        QCOMPARE(f.view->selectionBar()->summary(), "0 selected to quit");
        QCOMPARE(f.view->selectionBar()->actionTitle(), "Apply");

        QTest::mouseClick(f.view->selectionBar()->actionButton(), Qt::LeftButton);
        QVERIFY(f.session.log.lines.isEmpty());
        QVERIFY(f.actions->selectedIDs().isEmpty());
        QVERIFY(!f.view->selectionBar()->isVisible());
        QCOMPARE(f.list->model()->rowCount(), 2);
    }

    // A running application comes and goes above the rows the user looks at.
    void updatesKeepTheCurrentRowAndWhatIsInView() {
        Fixture f;
        QStringList many;
        for (int i = 0; i < 60; ++i)
            many << QStringLiteral("Tool %1").arg(i, 2, 10, QChar('0'));
        QVERIFY(f.start(many));
        QSignalSpy resets(f.list->model(), &QAbstractItemModel::modelReset);
        f.list->verticalScrollBar()->setValue(f.list->verticalScrollBar()->maximum() / 2);
        const QModelIndex top = f.list->indexAt(QPoint(0, 0));
        const QString topName = top.data().toString();
        const int topOffset = f.list->visualRect(top).top();
        const QModelIndex current = f.list->indexAt(QPoint(0, f.list->viewport()->height() / 2));
        const QString currentName = current.data().toString();
        f.list->setCurrentIndex(current);
        QVERIFY(currentName.startsWith("Tool"));

        const auto stillInView = [&] {
            const QModelIndex nowTop = f.list->indexAt(QPoint(0, 0));
            return nowTop.data().toString() == topName &&
                   f.list->visualRect(nowTop).top() == topOffset &&
                   f.list->currentIndex().data().toString() == currentName;
        };
        f.session.end(f.terminalApp);
        QVERIFY(!f.row("Terminal").isValid()); // not installed, so gone from both sections
        QVERIFY(stillInView());
        f.session.launch("org.example.Browser", "Browser", 12);
        QVERIFY(stillInView());
        f.session.end(f.mailApp);
        QVERIFY(stillInView());
        QCOMPARE(resets.size(), 0);
    }

    void longNameIsCutShortAndTheButtonStaysRight() {
        Fixture f;
        QVERIFY(f.start());
        const QString longName = QString("Extraordinarily Long Application Name ").repeated(6);
        f.session.launch("org.example.Long", longName, 12);

        const AppActionRow::Geometry short_ = f.geometry("Mail");
        const AppActionRow::Geometry long_ = f.geometry(longName);
        QCOMPARE(f.list->visualRect(f.row(longName)).height(),
                 f.list->visualRect(f.row("Mail")).height());
        QCOMPARE(long_.action, f.geometry("Terminal")
                                   .action.translated(0, long_.action.top() -
                                                             f.geometry("Terminal").action.top()));
        QCOMPARE(long_.action.right(), f.list->viewport()->width() - 1 - 14);
        QCOMPARE(long_.name.width(), short_.name.width());
        // Nothing of the name is drawn between its column and the button.
        const QImage picture = f.picture();
        const QRect gap(long_.name.right() + 1, long_.name.top(),
                        long_.action.left() - long_.name.right() - 1, long_.name.height());
        QVERIFY(gap.width() >= 12);
        QCOMPARE(pixelsUnlike(picture, gap, f.background()), 0);
        QVERIFY(pixelsUnlike(picture, long_.name, f.background()) > 0);
    }
};

QTEST_MAIN(AppsListViewTest)
#include "tst_appslistview.moc"
