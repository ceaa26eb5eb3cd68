#include "fakes/AppsListFixture.h"
#include "fakes/DrawnTextStyle.h"
#include "views/AppActionRow.h"
#include "views/AppsListAccessible.h"
#include "views/SelectionBar.h"
#include "views/Translations.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QItemSelectionModel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

namespace {

const QString &editor = AppsListSession::editor;
const QString &mail = AppsListSession::mail;
const QString &notes = AppsListSession::notes;
const QString &terminal = AppsListSession::terminal;
const QString &toggle = QAccessibleActionInterface::toggleAction();
const QString &press = QAccessibleActionInterface::pressAction();

// The list as the mouse, the eye and a screen reader meet it.
struct Fixture : AppsListWindow {
    QModelIndex indexOf(const QString &text) const {
        return list->model()
            ->match(list->model()->index(0, 0), Qt::DisplayRole, text, 1, Qt::MatchExactly)
            .value(0);
    }
    AppActionRow::Geometry geometry(const QString &text) const {
        return view->rowDelegate()->geometry(*list, indexOf(text));
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

    QAccessibleInterface *accessibleList() const {
        return QAccessible::queryAccessibleInterface(list);
    }
    // The list's children as a screen reader finds them, asked afresh.
    QStringList children() const {
        static const QHash<QAccessible::Role, QString> roles{{QAccessible::Heading, "heading "},
                                                             {QAccessible::ListItem, "item "},
                                                             {QAccessible::StaticText, "text "}};
        QAccessibleInterface *rows = accessibleList();
        QStringList described;
        for (int i = 0; i < rows->childCount(); ++i)
            described << roles.value(rows->child(i)->role(), "other ") +
                             rows->child(i)->text(QAccessible::Name);
        return described;
    }
    QAccessibleInterface *accessibleRow(const QString &name) const {
        const QModelIndex index = indexOf(name);
        return index.isValid() ? accessibleList()->child(index.row()) : nullptr;
    }
    QAccessibleInterface *checkbox(const QString &name) const { return part(name, 0); }
    QAccessibleInterface *button(const QString &name) const { return part(name, 1); }
    QAccessibleInterface *part(const QString &name, int part) const {
        QAccessibleInterface *item = accessibleRow(name);
        return item ? item->child(part) : nullptr;
    }
    QRect onScreen(const QRect &inViewport) const {
        return {list->viewport()->mapToGlobal(inViewport.topLeft()), inViewport.size()};
    }
};

// Runs the control's action as a screen reader does; false when there is no such control.
[[nodiscard]] bool act(QAccessibleInterface *control, const QString &action) {
    if (!control || !control->actionInterface())
        return false;
    control->actionInterface()->doAction(action);
    return true;
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

} // namespace

// The list as its users see, click, type and hear it.
class AppsListViewTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Fixture> f;

private slots:
    void initTestCase() { Translations::install(QLocale(QLocale::English)); }
    void init() {
        f = std::make_unique<Fixture>();
        QVERIFY(f->show());
    }
    void cleanup() { f.reset(); }

    void screenReaderReadsHeadingsAndItemsWithACheckboxAndAButton() {
        QAccessibleInterface *list = f->accessibleList();
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(f->children(), (QStringList{"heading Running", "item Mail", "item Terminal",
                                             "heading Not Running", "item Editor", "item Notes"}));
        // Only the application list answers this way; other lists keep Qt's own interface.
        QVERIFY(dynamic_cast<AppsListAccessible *>(list));
        QListView otherList;
        QVERIFY(
            !dynamic_cast<AppsListAccessible *>(QAccessible::queryAccessibleInterface(&otherList)));

        // Where each row and control lies, and how a reader walks between them.
        for (int i = 0; i < list->childCount(); ++i) {
            QAccessibleInterface *row = list->child(i);
            const QModelIndex index = f->list->model()->index(i, 0);
            QCOMPARE(row->parent(), list);
            QCOMPARE(list->indexOfChild(row), i);
            QCOMPARE(row->rect(), f->onScreen(f->list->visualRect(index)));
            QCOMPARE(list->childAt(row->rect().center().x(), row->rect().center().y()), row);
            const bool isItem = row->role() == QAccessible::ListItem;
            QCOMPARE(row->childCount(), isItem ? 2 : 0);
            QCOMPARE(bool(row->state().checkable), isItem);
            const AppActionRow::Geometry g = f->view->rowDelegate()->geometry(*f->list, index);
            const QRect parts[] = {g.checkbox, g.action};
            for (int part = 0; part < row->childCount(); ++part) {
                QAccessibleInterface *control = row->child(part);
                QCOMPARE(control->parent(), row);
                QCOMPARE(row->indexOfChild(control), part);
                QCOMPARE(control->rect(), f->onScreen(parts[part]));
                const QPoint inside = control->rect().center();
                QCOMPARE(row->childAt(inside.x(), inside.y()), control);
                QVERIFY(!control->state().checked && !control->state().disabled);
            }
        }
    }

    void checkboxTicksItsRowByMouseAndByScreenReader() {
        QVERIFY(act(f->checkbox("Terminal"), toggle));
        QCOMPARE(f->actions.selectedIDs(), QSet{terminal});
        QVERIFY(f->checkbox("Terminal")->state().checked);
        // The ticks are not the view's selection, which the list does not use.
        QVERIFY(!f->list->selectionModel()->hasSelection());
        QVERIFY(!f->list->currentIndex().isValid());
        QVERIFY(act(f->checkbox("Terminal"), toggle));
        QVERIFY(f->actions.selectedIDs().isEmpty());
        // The checkbox's action is to toggle; pressing it as a button does nothing.
        QVERIFY(act(f->checkbox("Terminal"), press));
        QVERIFY(f->actions.selectedIDs().isEmpty());

        f->click(f->geometry("Mail").checkbox.center());
        QCOMPARE(f->actions.selectedIDs(), QSet{mail});
        QVERIFY(f->view->selectionBar()->isVisible());
        // The name is no control; the checkbox goes back off.
        f->click(f->geometry("Mail").name.center());
        QCOMPARE(f->actions.selectedIDs(), QSet{mail});
        f->click(f->geometry("Mail").checkbox.center());
        QVERIFY(f->actions.selectedIDs().isEmpty());
        QVERIFY(!f->view->selectionBar()->isVisible());
        QCOMPARE(f->mailApp->terminateCalls + f->terminalApp->terminateCalls, 0);
    }

    void rowButtonActsOnceUntilTheRowIsNoLongerBusy_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("log");
        QTest::newRow("quit") << "Terminal"
                              << "Quit Terminal" << AppsListSession::refusedQuit(terminal, 11);
        QTest::newRow("open") << "Notes"
                              << "Open Notes"
                              << QStringList{"open " + SimulatedSession::pathOf(notes)};
    }
    void rowButtonActsOnceUntilTheRowIsNoLongerBusy() {
        QFETCH(QString, name);
        QFETCH(QString, title);
        QFETCH(QStringList, log);
        // Where the button's fill shows: inside its rounded left end, clear of its symbol.
        const auto fillPoint = [&, this] {
            const QRect pill = f->geometry(name).action;
            return QPoint(pill.left() + pill.height() / 2 - 2, pill.top() + 3);
        };
        const QRect pill = f->geometry(name).action;
        QVERIFY(!isClose(f->picture().pixelColor(fillPoint()), f->background()));
        QCOMPARE(f->toolTipAt(pill.center()), title);
        QCOMPARE(f->toolTipAt(f->geometry(name).name.center()), QString());
        f->click(f->geometry(name).checkbox.center());

        f->click(pill.center());
        QCOMPARE(f->log.lines, log);
        QVERIFY(f->actions.selectedIDs().isEmpty()); // the row's action unticks it

        // Busy: a turning spinner stands where the button was; neither a click nor a screen
        // reader presses it, but the checkbox still works.
        const QRect frame = f->geometry(name).action;
        QCOMPARE(frame.right(), pill.right());
        const QImage busy = f->picture();
        QVERIFY(isClose(busy.pixelColor(fillPoint()), f->background()));
        QRect spinner(0, 0, 16, 16);
        spinner.moveCenter(frame.center());
        QVERIFY(pixelsUnlike(busy, spinner, f->background()) > 20);
        QTRY_VERIFY(f->picture() != busy);
        f->click(frame.center());
        QVERIFY(act(f->button(name), press));
        QCOMPARE(f->log.lines, log);
        QCOMPARE(f->toolTipAt(frame.center()), QString());
        QCOMPARE(f->button(name)->text(QAccessible::Name), title);
        QVERIFY(f->button(name)->state().disabled);
        QVERIFY(f->accessibleRow(name)->state().busy);
        QVERIFY(f->button(name)->actionInterface()->actionNames().isEmpty());
        QVERIFY(act(f->checkbox(name), toggle));
        QVERIFY(f->checkbox(name)->state().checked);

        if (name == "Terminal") {
            f->time.advance(1.5);
        } else {
            f->workspace.takeOpenCompletion()(std::nullopt);
            QCoreApplication::processEvents();
        }
        QVERIFY(!f->view->isSpinnerTurning());
        QVERIFY(!isClose(f->picture().pixelColor(fillPoint()), f->background()));
        QVERIFY(!f->button(name)->state().disabled);
        f->click(f->geometry(name).action.center());
        QCOMPARE(f->log.lines, log + log);
    }

    void keyboardMovesTheFocusOverItemsTicksAndPresses() {
        const auto current = [this] { return f->list->currentIndex().data().toString(); };
        QVERIFY(!f->accessibleList()->focusChild());
        f->searchField->setFocus();
        QTest::keyClick(f->searchField, Qt::Key_Tab);
        QVERIFY(f->list->hasFocus());
        QCOMPARE(current(), "Mail");

        QTest::keyClick(f->list, Qt::Key_Down);
        QCOMPARE(current(), "Terminal");
        QCOMPARE(f->accessibleList()->focusChild(), f->accessibleRow("Terminal"));
        QVERIFY(f->accessibleRow("Terminal")->state().focused);
        QVERIFY(!f->accessibleRow("Mail")->state().focused);
        // Past the "Not Running" header, to the first installed item, and back.
        QTest::keyClick(f->list, Qt::Key_Down);
        QCOMPARE(current(), "Editor");
        QTest::keyClick(f->list, Qt::Key_Up);
        QCOMPARE(current(), "Terminal");
        // The ends of the list, headers skipped.
        QTest::keyClick(f->list, Qt::Key_End);
        QCOMPARE(current(), "Notes");
        QTest::keyClick(f->list, Qt::Key_Home);
        QCOMPARE(current(), "Mail");

        QCOMPARE(f->checkbox("Mail")->actionInterface()->keyBindingsForAction(toggle),
                 QStringList{"Space"});
        QTest::keyClick(f->list, Qt::Key_Space);
        QCOMPARE(f->actions.selectedIDs(), QSet{mail});
        QTest::keyClick(f->list, Qt::Key_Down);
        QTest::keyClick(f->list, Qt::Key_Space);
        QCOMPARE(f->actions.selectedIDs(), (QSet{mail, terminal}));

        QTest::keyClick(f->list, Qt::Key_Return);
        QCOMPARE(f->terminalApp->terminateCalls, 1);
        QCOMPARE(f->actions.busyIDs(), QSet{terminal});
        QTest::keyClick(f->list, Qt::Key_Enter);
        QCOMPARE(f->terminalApp->terminateCalls, 1);
    }

    void searchWithoutResultsShowsAndReadsTheEmptyListTextCentred() {
        const QAccessible::Id mailRow = QAccessible::uniqueId(f->accessibleRow("Mail"));
        QTest::keyClicks(f->searchField, " zz");
        QCOMPARE(f->children(), QStringList{"text No results for \" zz\""});
        QVERIFY(!QAccessible::accessibleInterface(mailRow));
        QAccessibleInterface *emptyList = f->accessibleList()->child(0);
        QCOMPARE(emptyList->childCount(), 0);
        // Centred, with 40 points of space above and below.
        const QRect row = f->list->visualRect(f->list->model()->index(0, 0));
        const QImage picture = f->picture();
        const int quarter = row.width() / 4;
        for (const QRect &margin :
             {row.adjusted(0, 0, 0, 40 - row.height()), row.adjusted(0, row.height() - 40, 0, 0),
              row.adjusted(0, 0, -3 * quarter, 0), row.adjusted(3 * quarter, 0, 0, 0)})
            QCOMPARE(pixelsUnlike(picture, margin, f->background()), 0);
        QVERIFY(pixelsUnlike(picture, row, f->background()) > 0);

        QTest::keyClick(f->searchField, Qt::Key_Z);
        QCOMPARE(f->accessibleList()->child(0), emptyList);
        QCOMPARE(emptyList->text(QAccessible::Name), "No results for \" zzz\"");
        f->searchField->clear();
        QCOMPARE(f->children().size(), 6);
        QVERIFY(QAccessible::uniqueId(f->accessibleRow("Mail")) != mailRow);
    }

    void selectionBarOpensTheTickedItemsFirstThenQuitsThem() {
        for (const char *name : {"Terminal", "Notes", "Mail"})
            f->click(f->geometry(name).checkbox.center());
        QCOMPARE(f->view->selectionBar()->summary(), "3 selected");
        QPushButton *button = f->view->selectionBar()->actionButton();
        QAccessibleInterface *reader = QAccessible::queryAccessibleInterface(button);
        // The "&" is drawn and read out, and makes no Alt shortcut that acts on everything.
        DrawnTextStyle style;
        button->setStyle(&style);
        button->grab();
        QVERIFY(style.drew("Open 1 App & Quit 2 Apps"));
        QCOMPARE(reader->text(QAccessible::Name), "Open 1 App & Quit 2 Apps");
        QCOMPARE(reader->text(QAccessible::Accelerator), "");
        QVERIFY(button->shortcut().isEmpty());

        QTest::mouseClick(button, Qt::LeftButton);

        QCOMPARE(f->log.lines, QStringList{"open " + SimulatedSession::pathOf(notes)} +
                                   AppsListSession::refusedQuit(mail, 10) +
                                   AppsListSession::refusedQuit(terminal, 11));
        QVERIFY(f->actions.selectedIDs().isEmpty());
        QVERIFY(!f->view->selectionBar()->isVisible());

        // Ticked items that the search hides are left alone, and unticked.
        f->log.lines.clear();
        f->click(f->geometry("Editor").checkbox.center());
        QTest::keyClicks(f->searchField, "note");
        QCOMPARE(reader->text(QAccessible::Name), "Apply");
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(f->log.lines.isEmpty());
        QVERIFY(f->actions.selectedIDs().isEmpty());
        QVERIFY(!f->view->selectionBar()->isVisible());
    }

    // Running applications come and go above the rows the user looks at.
    void updatesKeepTheCurrentRowAndWhatIsInView() {
        QStringList many;
        for (int i = 0; i < 60; ++i)
            many << QStringLiteral("Tool %1").arg(i, 2, 10, QChar('0'));
        f = std::make_unique<Fixture>();
        QVERIFY(f->show(many));
        f->list->verticalScrollBar()->setValue(f->list->verticalScrollBar()->maximum() / 2);
        f->list->setCurrentIndex(f->list->indexAt(QPoint(0, f->list->viewport()->height() / 2)));
        const auto inView = [this] {
            const QModelIndex top = f->list->indexAt(QPoint(0, 0));
            return QStringList{top.data().toString(),
                               QString::number(f->list->visualRect(top).top()),
                               f->list->currentIndex().data().toString()};
        };
        const QStringList before = inView();
        QVERIFY(before.last().startsWith("Tool"));
        f->end(f->terminalApp);
        QCOMPARE(inView(), before);
        f->launch("org.example.Browser", "Browser", 12);
        QCOMPARE(inView(), before);
        f->end(f->mailApp);
        QCOMPARE(inView(), before);
    }

    void longNameIsCutShortAndTheButtonStaysRight() {
        const QString longName = QString("Extraordinarily Long Application Name ").repeated(6);
        f->launch("org.example.Long", longName, 12);

        const AppActionRow::Geometry short_ = f->geometry("Mail");
        const AppActionRow::Geometry long_ = f->geometry(longName);
        QCOMPARE(f->list->visualRect(f->indexOf(longName)).height(),
                 f->list->visualRect(f->indexOf("Mail")).height());
        QCOMPARE(long_.action.right(), f->list->viewport()->width() - 1 - 14);
        QCOMPARE(long_.action.size(), short_.action.size());
        QCOMPARE(long_.name.width(), short_.name.width());
        // Nothing of the name is drawn between its column and the button.
        const QImage picture = f->picture();
        const QRect gap(long_.name.right() + 1, long_.name.top(),
                        long_.action.left() - long_.name.right() - 1, long_.name.height());
        QVERIFY(gap.width() >= 12);
        QCOMPARE(pixelsUnlike(picture, gap, f->background()), 0);
        QVERIFY(pixelsUnlike(picture, long_.name, f->background()) > 0);
    }

    void rowInterfacesStayWithRowsThatMoveAndGoWithRowsThatGo() {
        QAccessibleInterface *mailRow = f->accessibleRow("Mail");
        QAccessibleInterface *notesRow = f->accessibleRow("Notes");
        QAccessibleInterface *notesCheckbox = f->checkbox("Notes");
        QCOMPARE(f->accessibleList()->indexOfChild(notesRow), 5);
        // Opening Notes counts a use of it, which ranks it first among the installed.
        QVERIFY(act(f->button("Notes"), press));
        QCOMPARE(f->children(), (QStringList{"heading Running", "item Mail", "item Terminal",
                                             "heading Not Running", "item Notes", "item Editor"}));
        QCOMPARE(f->accessibleRow("Notes"), notesRow);
        QCOMPARE(f->checkbox("Notes"), notesCheckbox);
        QCOMPARE(f->accessibleList()->indexOfChild(notesRow), 4);
        QCOMPARE(notesRow->rect(), f->onScreen(f->list->visualRect(f->list->model()->index(4, 0))));

        // Editor starts: its installed row goes and a running one comes.
        const QAccessible::Id installedRow = QAccessible::uniqueId(f->accessibleRow("Editor"));
        const QAccessible::Id installedButton = QAccessible::uniqueId(f->button("Editor"));
        const auto editorApp = f->launch(editor, "Editor", 12);
        QCOMPARE(f->children(),
                 (QStringList{"heading Running", "item Editor", "item Mail", "item Terminal",
                              "heading Not Running", "item Notes"}));
        QVERIFY(!QAccessible::accessibleInterface(installedRow));
        QVERIFY(!QAccessible::accessibleInterface(installedButton));
        QCOMPARE(f->button("Editor")->text(QAccessible::Name), "Quit Editor");
        QCOMPARE(f->accessibleRow("Mail"), mailRow);
        QCOMPARE(f->accessibleList()->indexOfChild(mailRow), 2);

        const QAccessible::Id runningRow = QAccessible::uniqueId(f->accessibleRow("Editor"));
        f->end(editorApp);
        QVERIFY(!QAccessible::accessibleInterface(runningRow));
        QCOMPARE(f->button("Editor")->text(QAccessible::Name), "Open Editor");
        QCOMPARE(f->accessibleList()->indexOfChild(mailRow), 1);
    }

    void registeredInterfacesGoWithTheList() {
        const QAccessible::Id ids[] = {QAccessible::uniqueId(f->accessibleList()),
                                       QAccessible::uniqueId(f->accessibleRow("Mail")),
                                       QAccessible::uniqueId(f->checkbox("Mail")),
                                       QAccessible::uniqueId(f->button("Notes"))};
        f->launch(editor, "Editor", 12);
        delete f->view;
        for (const QAccessible::Id id : ids)
            QVERIFY(!QAccessible::accessibleInterface(id));
        // The session goes on changing after the view has gone.
        f->launch(notes, "Notes", 13);
    }
};

QTEST_MAIN(AppsListViewTest)
#include "tst_appslistview.moc"
